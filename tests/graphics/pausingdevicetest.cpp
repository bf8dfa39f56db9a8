#include "graphics/pausingdevice.h"

#include "effects/paintrecorder.h"
#include "effects/wireframes.h"
#include "support/glrecorder.h"
#include "support/logcapture.h"

#include <QTest>

class PausingDeviceTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void finishesEverySoManyDraws_data();
    void finishesEverySoManyDraws();
    void handsOnWhatIsPainted();
    void leavesThePainterWithTheLastState();
    void isAsLargeAsTheOtherDevice();
    void beginsWithoutAWord();
};

void PausingDeviceTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void PausingDeviceTest::finishesEverySoManyDraws_data()
{
    QTest::addColumn<int>("every");
    QTest::addColumn<QVector<int>>("before");
    QTest::newRow("each") << 1 << QVector<int>{0, 1, 2, 3, 4, 5, 6};
    QTest::newRow("every third") << 3 << QVector<int>{0, 3, 6};
    QTest::newRow("as many as there are") << 7 << QVector<int>{0};
    QTest::newRow("more than there are") << 100 << QVector<int>{0};
}

void PausingDeviceTest::finishesEverySoManyDraws()
{
    QFETCH(int, every);
    QFETCH(QVector<int>, before);
    PaintRecorder recorder;
    QPainter painter(&recorder);
    graphics::PausingDevice device(painter, every);
    QPainter pausing(&device);
    const QPointF points[2] = {QPointF(1.0, 2.0), QPointF(3.0, 4.0)};
    QVector<int> finished;
    for (int draw = 0; draw < 7; ++draw) {
        // Two points at a time are one draw.
        pausing.drawPoints(points, 2);
        const QStringList calls = glrecorder::takeCalls();
        if (!calls.isEmpty()) {
            QCOMPARE(calls, QStringList("glFinish()"));
            finished.append(draw);
        }
    }
    QCOMPARE(finished, before);
    QCOMPARE(recorder.points.size(), 14);
}

void PausingDeviceTest::handsOnWhatIsPainted()
{
    PaintRecorder direct;
    PaintRecorder handedOn;
    {
        QPainter painter(&direct);
        Wireframes().renderFrame(painter, 37);
    }
    QPainter painter(&handedOn);
    graphics::PausingDevice device(painter, 7);
    QPainter pausing(&device);
    Wireframes().renderFrame(pausing, 37);
    QCOMPARE(direct.points.size(), 343);
    QCOMPARE(handedOn.points.size(), direct.points.size());
    for (int i = 0; i < direct.points.size(); ++i) {
        const PaintRecorder::Point& expected = direct.points.at(i);
        const PaintRecorder::Point& point = handedOn.points.at(i);
        // To the last bit, which a comparison of points would let differ.
        QVERIFY(point.position.x() >= expected.position.x() &&
                point.position.x() <= expected.position.x());
        QVERIFY(point.position.y() >= expected.position.y() &&
                point.position.y() <= expected.position.y());
        QCOMPARE(point.pen, expected.pen);
        QCOMPARE(point.mode, expected.mode);
    }
    QVERIFY(handedOn.lines.isEmpty());
    QCOMPARE(handedOn.others, 0);
}

void PausingDeviceTest::leavesThePainterWithTheLastState()
{
    PaintRecorder recorder;
    QPainter painter(&recorder);
    painter.translate(128, 100);
    const QTransform transform = painter.transform();
    const QPen pen(QBrush(QColor(1, 2, 3)), 4.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
    {
        graphics::PausingDevice device(painter, 1);
        QPainter pausing(&device);
        pausing.setCompositionMode(QPainter::CompositionMode_Plus);
        pausing.setPen(pen);
        pausing.drawPoint(QPointF(0.5, 0.25));
    }
    QVERIFY(painter.isActive());
    QCOMPARE(painter.transform(), transform);
    QCOMPARE(painter.pen(), pen);
    QCOMPARE(painter.compositionMode(), QPainter::CompositionMode_Plus);
}

void PausingDeviceTest::isAsLargeAsTheOtherDevice()
{
    PaintRecorder recorder;
    QPainter painter(&recorder);
    const graphics::PausingDevice device(painter, 1);
    QCOMPARE(device.width(), 256);
    QCOMPARE(device.height(), 256);
    QCOMPARE(device.devicePixelRatio(), 1);
    QCOMPARE(device.logicalDpiX(), 72);
    QCOMPARE(device.logicalDpiY(), 72);
    // Everything else is the toolkit's default.
    QCOMPARE(device.colorCount(), 256);
}

void PausingDeviceTest::beginsWithoutAWord()
{
    PaintRecorder recorder;
    QPainter painter(&recorder);
    graphics::PausingDevice device(painter, 1);
    LogCapture log;
    QPainter pausing(&device);
    QVERIFY(pausing.isActive());
    pausing.drawPixmap(0, 0, QPixmap(1, 1));
    QVERIFY(pausing.end());
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(recorder.others, 0);
}

QTEST_MAIN(PausingDeviceTest)
#include "pausingdevicetest.moc"
