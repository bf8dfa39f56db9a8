#include "effects/nzoomer.h"

#include "effects/framebitmap.h"
#include "effects/randomdraws.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

struct Dot
{
    QPoint position;
    QRgb color;

    bool operator==(const Dot& other) const
    {
        return position == other.position && color == other.color;
    }
};

QVector<Dot> dotsSet;

/// The sway goes on over all zoomers of the process, so the test counts along, from its start.
float swayed = 0.0f;

} // namespace

// The zoom covers the dots in the moment they are set; here each is caught before.
void QImage::setPixel(int x, int y, uint color)
{
    dotsSet.append(Dot{QPoint(x, y), color});
    reinterpret_cast<QRgb*>(scanLine(y))[x] = color;
}

namespace {

void render(NZoomer& zoomer, FrameBitmap& bitmap, int frame)
{
    dotsSet.clear();
    zoomer.renderFrame(&bitmap, frame);
    swayed += 0.001f;
}

QVector<QRgb> palette()
{
    return {
        QColor(171, 86, 252).darker(200).rgb(), QColor(141, 90, 55).darker(200).rgb(),
        QColor(0, 254, 71).lighter(500).rgb(),  QColor(218, 88, 94).darker(200).rgb(),
        QColor(53, 248, 92).darker(300).rgb(),  QColor(57, 45, 31).darker(300).rgb(),
        QColor(122, 73, 98).lighter(400).rgb(), QColor(39, 33, 12).darker(200).rgb(),
    };
}

/// The dots of a ring `side` × `side`, from the draws that follow.
QVector<Dot> dotsOf(int side, double spread)
{
    QVector<Dot> dots;
    qrand(); // A colour that no dot gets.
    for (int i = 0; i < side * side; ++i) {
        const double angle = 0.001 * (qrand() % 31400);
        const double radius = 2.0 + 0.0001 * spread * (qrand() % 10000);
        const QRgb color = palette().at(qrand() % 8);
        dots.append(Dot{QPoint(static_cast<int>(128.0 + radius * std::sin(angle)),
                               static_cast<int>(128.0 - radius * std::cos(angle))),
                        color});
    }
    return dots;
}

void paintDots(QImage& image, const QVector<Dot>& dots)
{
    for (const Dot& dot : dots) {
        reinterpret_cast<QRgb*>(image.scanLine(dot.position.y()))[dot.position.x()] = dot.color;
    }
}

/// The picture one frame later: larger, turned, and shifted by the sway.
QImage zoomed(const QImage& picture, int frame)
{
    const double sway = std::sin(static_cast<double>(swayed) + frame * 0.001) * 0.1;
    const double turn = (std::cos(static_cast<double>(swayed)) * 0.5 + 1.6) * M_PI / 180.0;
    const double acrossX = 1.05 * std::cos(turn);
    const double acrossY = 1.03 * std::sin(turn);
    const double downX = -1.05 * std::sin(turn);
    const double downY = 1.03 * std::cos(turn);
    const QTransform transform(acrossX, acrossY, downX, downY,
                               128.0 + sway - 128.0 * (acrossX + downX),
                               128.0 - 128.0 * (acrossY + downY));
    QImage result = picture.copy();
    QPainter painter(&result);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setTransform(transform);
    painter.drawImage(QPointF(0.0, 0.0), picture);
    return result;
}

/// Colours without any pattern, so that a shift of a fraction of a pixel shows everywhere.
void fillWithGrain(QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        QRgb* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const unsigned int grain =
                static_cast<unsigned int>(y * image.width() + x) * 2654435761u;
            row[x] = 0xff000000 | grain >> 8;
        }
    }
}

/// The largest difference of any channel. The toolkit's fixed point may round the same place,
/// composed in another order, to a neighbour.
int difference(const QImage& a, const QImage& b)
{
    int worst = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q)), std::abs(qAlpha(p) - qAlpha(q))});
        }
    }
    return worst;
}

const int ROUNDING = 2;

} // namespace

class NZoomerTest : public QObject
{
    Q_OBJECT

private slots:
    void paletteIsMixed_data();
    void paletteIsMixed();
    void dotsAreBlackBeforeInit();
    void initDrawsNothing();
    void resetFrameSetsOneDot_data();
    void resetFrameSetsOneDot();
    void ringOfFrame_data();
    void ringOfFrame();
    void counterGoesOnOverParts();
    void countersAreTheirOwn();
    void zoomOfGrain_data();
    void zoomOfGrain();
    void turnAndSwayGoOnOverInstances();
    void runOfFrames();
    void feedbackIsOfFixedSize();
    void dotsDriftOutward();
};

void NZoomerTest::paletteIsMixed_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QColor>("about");
    // In plain numbers too, up to a rounding: halves and thirds, and what is too bright fades.
    QTest::newRow("0 violet") << 0 << QColor(85, 43, 126);
    QTest::newRow("1 brown") << 1 << QColor(70, 45, 27);
    QTest::newRow("3 red") << 3 << QColor(109, 44, 47);
    QTest::newRow("4 green") << 4 << QColor(18, 83, 31);
    QTest::newRow("5 dark brown") << 5 << QColor(19, 15, 10);
    QTest::newRow("7 darkest") << 7 << QColor(19, 16, 6);
    QTest::newRow("2 white") << 2 << QColor(255, 255, 255);
    QTest::newRow("6 pale pink") << 6 << QColor(255, 255, 255);
}

void NZoomerTest::paletteIsMixed()
{
    QFETCH(int, index);
    QFETCH(QColor, about);
    for (unsigned int seed = 2; seed < 1000; ++seed) {
        qsrand(seed);
        for (int i = 0; i < 3; ++i) {
            qrand();
        }
        if (qrand() % 8 != index) {
            continue;
        }
        NZoomer zoomer;
        zoomer.init();
        FrameBitmap bitmap;
        qsrand(seed);
        render(zoomer, bitmap, -1);
        QCOMPARE(dotsSet.size(), 1);
        const QColor color(dotsSet.first().color);
        QCOMPARE(color.rgb(), palette().at(index));
        QVERIFY2(std::abs(color.red() - about.red()) <= 1 &&
                     std::abs(color.green() - about.green()) <= 1 &&
                     std::abs(color.blue() - about.blue()) <= 1,
                 qPrintable(color.name()));
        return;
    }
    QFAIL("no seed picks this colour");
}

void NZoomerTest::dotsAreBlackBeforeInit()
{
    NZoomer zoomer;
    FrameBitmap bitmap;
    bitmap.clear(Qt::white);
    for (int frame = 0; frame < 3; ++frame) {
        render(zoomer, bitmap, frame);
        QVERIFY(!dotsSet.isEmpty());
        for (const Dot& dot : qAsConst(dotsSet)) {
            QCOMPARE(dot.color, qRgb(0, 0, 0));
        }
    }
}

void NZoomerTest::initDrawsNothing()
{
    NZoomer zoomer;
    qsrand(40);
    zoomer.init();
    const int next = qrand();
    QCOMPARE(next, drawAfter(40, 0));
}

void NZoomerTest::resetFrameSetsOneDot_data()
{
    QTest::addColumn<unsigned int>("seed");
    for (unsigned int seed = 2; seed < 12; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void NZoomerTest::resetFrameSetsOneDot()
{
    QFETCH(unsigned int, seed);
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    for (int frame = 0; frame < 6; ++frame) {
        render(zoomer, bitmap, frame);
    }
    qsrand(seed);
    const QVector<Dot> expected = dotsOf(1, 0.0);
    qsrand(seed);
    render(zoomer, bitmap, -1);
    const int next = qrand();
    QCOMPARE(next, drawAfter(seed, 4));
    QCOMPARE(dotsSet, expected);
    // Two pixels from the centre, up to the cut to whole ones.
    const QPointF away = dotsSet.first().position - QPointF(127.5, 127.5);
    QVERIFY(std::abs(std::hypot(away.x(), away.y()) - 2.0) < 0.75);
    // And the ring starts anew: a single dot in the first frame, nine in the next.
    render(zoomer, bitmap, 6);
    QCOMPARE(dotsSet.size(), 1);
    render(zoomer, bitmap, 7);
    QCOMPARE(dotsSet.size(), 9);
}

void NZoomerTest::ringOfFrame_data()
{
    QTest::addColumn<int>("frame");
    QTest::addColumn<int>("reach");
    QTest::addColumn<double>("spread");
    const int reaches[] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 4, 4, 3, 3, 2, 2};
    const int spreads[] = {2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 20, 18, 16, 14, 12, 10, 8};
    for (int frame = 1; frame <= 17; ++frame) {
        QTest::addRow("frame %i", frame)
            << frame << reaches[frame - 1] << static_cast<double>(spreads[frame - 1]);
    }
    for (int frame = 18; frame <= 30; ++frame) {
        QTest::addRow("frame %i, steady", frame) << frame << 2 << 7.5;
    }
}

void NZoomerTest::ringOfFrame()
{
    QFETCH(int, frame);
    QFETCH(int, reach);
    QFETCH(double, spread);
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    for (int i = 1; i < frame; ++i) {
        render(zoomer, bitmap, i - 1);
    }
    const int side = 2 * reach + 1;
    const unsigned int seed = 50u + static_cast<unsigned int>(frame);
    qsrand(seed);
    const QVector<Dot> expected = dotsOf(side, spread);
    qsrand(seed);
    render(zoomer, bitmap, frame - 1);
    const int next = qrand();
    QCOMPARE(next, drawAfter(seed, 1 + 3 * side * side));
    QCOMPARE(dotsSet.size(), side * side);
    QCOMPARE(dotsSet, expected);
}

void NZoomerTest::counterGoesOnOverParts()
{
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    for (int frame = 0; frame < 5; ++frame) {
        render(zoomer, bitmap, frame);
    }
    // The next part counts its frames from nought; the ring takes no notice.
    render(zoomer, bitmap, 0);
    QCOMPARE(dotsSet.size(), 49);
    for (int frame = 1; frame < 100; ++frame) {
        render(zoomer, bitmap, frame);
    }
    render(zoomer, bitmap, 0);
    QCOMPARE(dotsSet.size(), 25);
}

void NZoomerTest::countersAreTheirOwn()
{
    NZoomer one;
    NZoomer two;
    FrameBitmap bitmap;
    for (int frame = 0; frame < 5; ++frame) {
        render(one, bitmap, frame);
    }
    render(two, bitmap, 5);
    QCOMPARE(dotsSet.size(), 1);
}

void NZoomerTest::zoomOfGrain_data()
{
    QTest::addColumn<int>("frame");
    for (int frame : {-1, 0, 1, 40, 1000, 3141}) {
        QTest::addRow("frame %i", frame) << frame;
    }
}

void NZoomerTest::zoomOfGrain()
{
    QFETCH(int, frame);
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    fillWithGrain(bitmap.image());
    QImage expected = bitmap.image().copy();
    render(zoomer, bitmap, frame);
    paintDots(expected, dotsSet);
    const int worst = difference(bitmap.image(), zoomed(expected, frame));
    QVERIFY2(worst <= ROUNDING, qPrintable(QString::number(worst)));
    QVERIFY(difference(bitmap.image(), expected) > 100);
}

void NZoomerTest::turnAndSwayGoOnOverInstances()
{
    for (int i = 0; i < 2; ++i) {
        NZoomer zoomer;
        FrameBitmap bitmap;
        for (int frame = 0; frame < 400; ++frame) {
            render(zoomer, bitmap, -1);
        }
    }
    // By now the turn is a fifth of a degree smaller than at first.
    NZoomer zoomer;
    FrameBitmap bitmap;
    fillWithGrain(bitmap.image());
    QImage expected = bitmap.image().copy();
    render(zoomer, bitmap, 0);
    paintDots(expected, dotsSet);
    const int worst = difference(bitmap.image(), zoomed(expected, 0));
    QVERIFY2(worst <= ROUNDING, qPrintable(QString::number(worst)));
}

void NZoomerTest::runOfFrames()
{
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    QImage expected(256, 256, QImage::Format_RGB32);
    expected.fill(Qt::black);
    for (int frame = 0; frame < 30; ++frame) {
        render(zoomer, bitmap, frame);
        paintDots(expected, dotsSet);
        expected = zoomed(expected, frame);
        const int worst = difference(bitmap.image(), expected);
        QVERIFY2(worst <= ROUNDING, qPrintable(QString("%1: %2").arg(frame).arg(worst)));
        // So that roundings do not add up.
        expected = bitmap.image().copy();
    }
}

void NZoomerTest::feedbackIsOfFixedSize()
{
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    bitmap.image() = QImage(400, 400, QImage::Format_RGB32);
    fillWithGrain(bitmap.image());
    const QImage before = bitmap.image().copy();
    render(zoomer, bitmap, 0);
    // Beyond the reach of 256 × 256 zoomed pixels the picture stays, within it all of it moves.
    for (int i = 280; i < 400; ++i) {
        QCOMPARE(bitmap.image().pixel(i, 100), before.pixel(i, 100));
        QCOMPARE(bitmap.image().pixel(100, i), before.pixel(100, i));
    }
    QVERIFY(difference(bitmap.image().copy(0, 0, 250, 250), before.copy(0, 0, 250, 250)) > 100);
}

void NZoomerTest::dotsDriftOutward()
{
    NZoomer zoomer;
    zoomer.init();
    FrameBitmap bitmap;
    const auto reach = [&bitmap] {
        double furthest = 0.0;
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x) {
                if (bitmap.image().pixel(x, y) != qRgb(0, 0, 0)) {
                    furthest = std::max(furthest, std::hypot(x - 128.0, y - 128.0));
                }
            }
        }
        return furthest;
    };
    qsrand(60);
    for (int frame = 0; frame < 12; ++frame) {
        render(zoomer, bitmap, frame);
    }
    const double early = reach();
    for (int frame = 12; frame < 30; ++frame) {
        render(zoomer, bitmap, frame);
    }
    QVERIFY(early > 10.0);
    QVERIFY2(reach() > early * 1.5, qPrintable(QString("%1, %2").arg(early).arg(reach())));
}

QTEST_GUILESS_MAIN(NZoomerTest)
#include "nzoomertest.moc"
