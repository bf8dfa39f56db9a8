#include "effects/wireframes.h"

#include "effects/paintrecorder.h"
#include "effects/randomdraws.h"

#include <QImage>
#include <QPainter>
#include <QTest>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

const int NUM_POINTS = 343;
const int SLAB = 49; ///< Points of one i.

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector normalized(const Vector& a)
{
    const double length = std::sqrt(dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}

/// A camera without matrices: what is seen of a point are its shares of the three axes.
struct Eye
{
    explicit Eye(double theta)
        : place{std::sin(theta) * 940.0, std::cos(theta) * 1128.0, -std::cos(theta) * 940.0}
        , ahead(normalized({-place[0], -place[1], -place[2]}))
        , side(normalized(cross(ahead, {0.0, 1.0, 0.0})))
        , top(cross(side, ahead))
    {
    }

    double depth(const Vector& point) const
    {
        return dot(ahead, {point[0] - place[0], point[1] - place[1], point[2] - place[2]});
    }

    Vector place;
    Vector ahead;
    Vector side;
    Vector top;
};

/// Only the angle needs the width of number that the show has: a channel may be cut at a whole
/// number just here or just there.
double angleOf(int frame)
{
    return static_cast<double>(static_cast<float>(frame * 2) / 150.0f * 3.14f);
}

double cut(double channel)
{
    return std::min(255.0, std::max(0.0, channel));
}

struct Expected
{
    QPointF position;
    double width;
    QColor color;
};

QVector<Expected> lattice(int frame)
{
    const double theta = angleOf(frame);
    const Eye eye(theta);
    const double lens = 1.0 / std::tan(0.17444445 / 2.0 * M_PI / 180.0);
    QVector<Expected> points;
    for (int i = -3; i <= 3; ++i) {
        double red = std::sin(theta + 0.5 * i) * 90.0;
        for (int j = -3; j <= 3; ++j) {
            double green = std::cos(theta + 0.5 * j) * 90.0;
            for (int k = -3; k <= 3; ++k) {
                red = cut(red + 50.0);
                green = cut(green + 100.0);
                const double blue = cut(130.0 + 90.0 * std::sin(theta + 0.5 * k));
                QColor color =
                    QColor(static_cast<int>(red), static_cast<int>(green), static_cast<int>(blue))
                        .darker(140);
                color.setAlpha(7);
                const Vector point = {35.0 * i, 35.0 * j, 35.0 * k};
                const double depth = eye.depth(point);
                points.append(Expected{QPointF(lens * dot(eye.top, point) / depth,
                                               lens * dot(eye.side, point) / depth),
                                       17500.0 / depth, color});
            }
        }
    }
    return points;
}

QVector<PaintRecorder::Point> recorded(int frame)
{
    Wireframes wireframes;
    PaintRecorder recorder;
    QPainter painter(&recorder);
    wireframes.renderFrame(painter, frame);
    painter.end();
    return recorder.lines.isEmpty() && recorder.others == 0 ? recorder.points
                                                            : QVector<PaintRecorder::Point>();
}

double distance(const QPointF& a, const QPointF& b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

} // namespace

class WireframesTest : public QObject
{
    Q_OBJECT

private slots:
    void latticeMatchesTheModel_data();
    void latticeMatchesTheModel();
    void pointsAreSolidSquares();
    void painterIsLeftAdding();
    void drawsNoRandomNumbers();
    void redBuildsUpOverASlab();
    void greenBuildsUpOverARow();
    void blueStartsAfreshForEachPoint();
    void frame150IsAlmostFrame0();
    void middlePointIsInTheCentre();
    void overlappingPointsGlow();
    void framesKeepNoState();
};

void WireframesTest::latticeMatchesTheModel_data()
{
    QTest::addColumn<int>("frame");
    for (int frame : {0, 1, 20, 37, 74, 75, 100, 150, 1000}) {
        QTest::addRow("frame %i", frame) << frame;
    }
}

void WireframesTest::latticeMatchesTheModel()
{
    QFETCH(int, frame);
    const QVector<Expected> expected = lattice(frame);
    const QVector<PaintRecorder::Point> points = recorded(frame);
    QCOMPARE(points.size(), NUM_POINTS);
    QCOMPARE(expected.size(), NUM_POINTS);
    for (int i = 0; i < NUM_POINTS; ++i) {
        const PaintRecorder::Point& point = points.at(i);
        const QByteArray which = "point " + QByteArray::number(i);
        QVERIFY2(distance(point.position, expected.at(i).position) < 0.01,
                 which + qPrintable(QString(" at (%1, %2) instead of (%3, %4)")
                                        .arg(point.position.x())
                                        .arg(point.position.y())
                                        .arg(expected.at(i).position.x())
                                        .arg(expected.at(i).position.y())));
        QVERIFY2(std::abs(point.pen.widthF() - expected.at(i).width) < 1e-3, which);
        QVERIFY2(point.pen.color() == expected.at(i).color, which);
    }
}

void WireframesTest::pointsAreSolidSquares()
{
    for (const PaintRecorder::Point& point : recorded(10)) {
        QCOMPARE(point.pen.style(), Qt::SolidLine);
        QCOMPARE(point.pen.capStyle(), Qt::SquareCap);
        QCOMPARE(point.pen.joinStyle(), Qt::BevelJoin);
        QCOMPARE(point.pen.brush().style(), Qt::SolidPattern);
        QCOMPARE(point.pen.color().alpha(), 7);
        QCOMPARE(point.mode, QPainter::CompositionMode_Plus);
    }
    QCOMPARE(recorded(10).size(), NUM_POINTS);
}

void WireframesTest::painterIsLeftAdding()
{
    Wireframes wireframes;
    PaintRecorder recorder;
    QPainter painter(&recorder);
    painter.translate(128, 128);
    const QTransform transform = painter.transform();
    wireframes.renderFrame(painter, 4);
    QCOMPARE(painter.compositionMode(), QPainter::CompositionMode_Plus);
    QCOMPARE(painter.transform(), transform);
}

void WireframesTest::drawsNoRandomNumbers()
{
    qsrand(17);
    Wireframes wireframes;
    wireframes.init();
    PaintRecorder recorder;
    QPainter painter(&recorder);
    wireframes.renderFrame(painter, 4);
    const int next = qrand();
    QCOMPARE(next, drawAfter(17, 0));
}

void WireframesTest::redBuildsUpOverASlab()
{
    const double theta = angleOf(30);
    const QVector<PaintRecorder::Point> points = recorded(30);
    QCOMPARE(points.size(), NUM_POINTS);
    for (int i = -3; i <= 3; ++i) {
        const double green = cut(std::cos(theta - 1.5) * 90.0 + 100.0);
        const double blue = cut(std::sin(theta - 1.5) * 90.0 + 130.0);
        QColor first = QColor(static_cast<int>(cut(std::sin(theta + 0.5 * i) * 90.0 + 50.0)),
                              static_cast<int>(green), static_cast<int>(blue))
                           .darker(140);
        first.setAlpha(7);
        QCOMPARE(points.at((i + 3) * SLAB).pen.color(), first);
        // From the seventh point on red is full, across the rows, whatever it began with: it is
        // then the brightest channel, or as bright as the brightest.
        for (int n = 6; n < SLAB; ++n) {
            const QColor color = points.at((i + 3) * SLAB + n).pen.color();
            QCOMPARE(color.red(), QColor(255, 0, 0).darker(140).red());
            QVERIFY(color.green() <= color.red() && color.blue() <= color.red());
        }
    }
}

void WireframesTest::greenBuildsUpOverARow()
{
    // At this angle the last row starts with a green below nothing.
    const int frame = 25;
    const double theta = angleOf(frame);
    const double start = std::cos(theta + 1.5) * 90.0;
    QVERIFY(start < -50.0);
    const QVector<PaintRecorder::Point> points = recorded(frame);
    QCOMPARE(points.size(), NUM_POINTS);
    const int row = 3 * SLAB + 6 * 7;
    for (int n = 0; n < 7; ++n) {
        const int green = static_cast<int>(cut(start + 100.0 * (n + 1)));
        const int blue = static_cast<int>(cut(std::sin(theta + 0.5 * (n - 3)) * 90.0 + 130.0));
        QColor color = QColor(255, green, blue).darker(140);
        color.setAlpha(7);
        QCOMPARE(points.at(row + n).pen.color(), color);
    }
}

void WireframesTest::blueStartsAfreshForEachPoint()
{
    const QVector<PaintRecorder::Point> points = recorded(0);
    QCOMPARE(points.size(), NUM_POINTS);
    for (int row = 1; row < NUM_POINTS / 7; ++row) {
        // Red and green are full at the end of every row.
        QCOMPARE(points.at(row * 7 + 6).pen.color(), points.at(6).pen.color());
    }
    QVERIFY(points.at(5).pen.color() != points.at(6).pen.color());
}

void WireframesTest::frame150IsAlmostFrame0()
{
    const QVector<PaintRecorder::Point> first = recorded(0);
    const QVector<PaintRecorder::Point> turned = recorded(150);
    const QVector<PaintRecorder::Point> half = recorded(75);
    QCOMPARE(first.size(), NUM_POINTS);
    double furthest = 0.0;
    for (int i = 0; i < NUM_POINTS; ++i) {
        QVERIFY(distance(first.at(i).position, turned.at(i).position) < 1.0);
        QVERIFY(std::abs(first.at(i).pen.widthF() - turned.at(i).pen.widthF()) < 0.1);
        furthest = std::max(furthest, distance(first.at(i).position, half.at(i).position));
    }
    QVERIFY(furthest > 50.0);
}

void WireframesTest::middlePointIsInTheCentre()
{
    for (int frame : {0, 33}) {
        const QVector<PaintRecorder::Point> points = recorded(frame);
        QCOMPARE(points.size(), NUM_POINTS);
        QVERIFY(distance(points.at(NUM_POINTS / 2).position, QPointF(0.0, 0.0)) < 1e-3);
    }
}

void WireframesTest::overlappingPointsGlow()
{
    // One square adds next to nothing; only where many lie upon each other is it bright.
    QImage image(256, 256, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.translate(128, 128);
    Wireframes wireframes;
    wireframes.renderFrame(painter, 37);
    painter.end();
    int brightest = 0;
    int unlit = 0;
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            brightest = std::max(brightest, qRed(image.pixel(x, y)));
            unlit += image.pixel(x, y) == qRgb(0, 0, 0);
        }
    }
    QVERIFY2(brightest >= 20, qPrintable(QString::number(brightest)));
    QVERIFY(unlit > 0);
}

void WireframesTest::framesKeepNoState()
{
    Wireframes wireframes;
    PaintRecorder recorder;
    QPainter painter(&recorder);
    for (int frame : {9, 50, 9}) {
        wireframes.renderFrame(painter, frame);
    }
    QCOMPARE(recorder.points.size(), 3 * NUM_POINTS);
    for (int i = 0; i < NUM_POINTS; ++i) {
        const PaintRecorder::Point& before = recorder.points.at(i);
        const PaintRecorder::Point& again = recorder.points.at(2 * NUM_POINTS + i);
        QCOMPARE(again.position, before.position);
        QCOMPARE(again.pen, before.pen);
    }
}

QTEST_GUILESS_MAIN(WireframesTest)
#include "wireframestest.moc"
