#include "flashes/flashmeter.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

/// A block is 40 × 20 pixels, of which 200 are a quarter.
const int WIDTH = 120;
const int HEIGHT = 60;
const int RATE = 20;
const int SECONDS = 3;

struct Color
{
    int red;
    int green;
    int blue;
};

const Color BLACK{0, 0, 0};
const Color WHITE{255, 255, 255};
/// Of luminance 0.07, too dark for a general flash, and redness 107.
const Color RED{156, 0, 0};

/// Of a pixel, at a time in seconds.
using Film = std::function<Color(int x, int y, double t)>;

bool squareWave(double hertz, double t)
{
    // In the middle of a picture's time, so that no rounding decides.
    return std::fmod((t + 0.001) * hertz, 1.0) < 0.5;
}

Film wave(double hertz, Color low, Color high)
{
    return [=](int, int, double t) { return squareWave(hertz, t) ? high : low; };
}

/// Within a rectangle; all else is black.
Film patch(int left, int top, int width, int height, const Film& film)
{
    return [=](int x, int y, double t) {
        const bool within = x >= left && x < left + width && y >= top && y < top + height;
        return within ? film(x, y, t) : BLACK;
    };
}

Film both(const Film& one, const Film& other)
{
    return [=](int x, int y, double t) {
        const Color a = one(x, y, t);
        const Color b = other(x, y, t);
        return Color{std::max(a.red, b.red), std::max(a.green, b.green), std::max(a.blue, b.blue)};
    };
}

const Film FAST = wave(4, BLACK, WHITE);

} // namespace

Q_DECLARE_METATYPE(Film)

class FlashMeterTest : public QObject
{
    Q_OBJECT

private slots:
    void worstSecond_data();
    void worstSecond();
    void secondEnds();
};

void FlashMeterTest::worstSecond_data()
{
    QTest::addColumn<Film>("film");
    QTest::addColumn<int>("rate");
    QTest::addColumn<int>("general");
    QTest::addColumn<int>("red");
    QTest::addColumn<int>("generalInStep");
    QTest::addColumn<int>("redInStep");

    QTest::newRow("nothing moves") << wave(0, BLACK, WHITE) << RATE << 0 << 0 << 0 << 0;
    for (const int hertz : {1, 2, 3, 4, 5}) {
        QTest::addRow("%i Hz", hertz)
            << wave(hertz, BLACK, WHITE) << RATE << hertz << 0 << hertz << 0;
    }
    QTest::newRow("4 Hz at 40 pictures a second") << FAST << 40 << 4 << 0 << 4 << 0;
    QTest::newRow("4 Hz at 64") << FAST << 64 << 4 << 0 << 4 << 0;
    // Grey 89 has the luminance 0.0999, 90 has 0.1022.
    QTest::newRow("just below a tenth") << wave(4, BLACK, {89, 89, 89}) << RATE << 0 << 0 << 0 << 0;
    QTest::newRow("just above a tenth") << wave(4, BLACK, {90, 90, 90}) << RATE << 4 << 0 << 4 << 0;
    // 231 has 0.799, 232 has 0.807, 243 has 0.896, 245 has 0.913.
    QTest::newRow("the darker one just dark enough")
        << wave(4, {231, 231, 231}, {244, 244, 244}) << RATE << 4 << 0 << 4 << 0;
    QTest::newRow("the darker one too light")
        << wave(4, {232, 232, 232}, WHITE) << RATE << 0 << 0 << 0 << 0;
    QTest::newRow("up by steps of less than a tenth") << Film([](int, int, double t) {
        // Twelve pictures up, of which none makes a tenth, and eight down.
        const int number = static_cast<int>(std::lround(t * RATE)) % RATE;
        const int grey = 7 * (number < 12 ? number : (20 - number) * 12 / 8);
        return Color{grey + 40, grey + 40, grey + 40};
    }) << RATE << 1 << 0 << 1 << 0;
    QTest::newRow("only ever up") << Film([](int, int, double t) {
        const int grey = std::min(255, static_cast<int>(t * RATE) * 20);
        return Color{grey, grey, grey};
    }) << RATE << 0 << 0 << 0 << 0;

    QTest::newRow("just less than a quarter")
        << patch(50, 20, 20, 9, FAST) << RATE << 0 << 0 << 0 << 0;
    QTest::newRow("a quarter") << patch(50, 20, 20, 10, FAST) << RATE << 4 << 0 << 4 << 0;
    QTest::newRow("a quarter in two pieces")
        << both(patch(41, 20, 10, 10, FAST), patch(65, 24, 10, 10, FAST)) << RATE << 4 << 0 << 4
        << 0;
    QTest::newRow("a quarter in two pieces, too far apart")
        << both(patch(0, 0, 10, 10, FAST), patch(100, 40, 10, 10, FAST)) << RATE << 0 << 0 << 0
        << 0;
    QTest::newRow("a quarter in the last corner")
        << patch(WIDTH - 20, HEIGHT - 10, 20, 10, FAST) << RATE << 4 << 0 << 4 << 0;
    QTest::newRow("half in step, half against it") << Film([](int x, int, double t) {
        return squareWave(4, t) == (x % 2 == 0) ? WHITE : BLACK;
    }) << RATE << 4 << 0 << 0 << 0;
    for (const int late : {2, 4}) {
        // Of a quarter of a block, whose every second column follows so many pictures later.
        QTest::addRow("a half %i pictures late", late)
            << patch(50, 20, 20, 10,
                     [=](int x, int, double t) {
                         const double lag = x % 2 * late / static_cast<double>(RATE);
                         return squareWave(2, t + 1 - lag) ? WHITE : BLACK;
                     })
            << RATE << 2 << 0 << (late == 2 ? 2 : 0) << 0;
    }
    // A line of three pixels' width comes by at each pixel four times a second.
    QTest::newRow("moving lines") << Film([](int x, int, double t) {
        return (x + static_cast<int>(std::lround(t * RATE)) * 3) % 15 < 3 ? WHITE : BLACK;
    }) << RATE << 4 << 0 << 0 << 0;

    QTest::newRow("red") << wave(4, BLACK, RED) << RATE << 0 << 4 << 0 << 4;
    QTest::newRow("red three times") << wave(3, BLACK, RED) << RATE << 0 << 3 << 0 << 3;
    QTest::newRow("light red") << wave(4, BLACK, {255, 0, 0}) << RATE << 4 << 4 << 4 << 4;
    // Linear: 0.061 is 19.6 of redness, 0.065 is 20.9.
    QTest::newRow("hardly red") << wave(4, BLACK, {70, 0, 0}) << RATE << 0 << 0 << 0 << 0;
    QTest::newRow("red enough") << wave(4, BLACK, {72, 0, 0}) << RATE << 0 << 4 << 0 << 4;
    // 0.262 of red to 2 × 0.045 of the others are less than four fifths.
    QTest::newRow("pale") << wave(4, BLACK, {140, 60, 60}) << RATE << 0 << 0 << 0 << 0;
    QTest::newRow("from pale to red") << wave(4, {140, 60, 60}, RED) << RATE << 0 << 4 << 0 << 4;
    QTest::newRow("blue and green") << wave(4, {0, 0, 90}, {0, 60, 0}) << RATE << 0 << 0 << 0 << 0;
}

void FlashMeterTest::worstSecond()
{
    QFETCH(Film, film);
    QFETCH(int, rate);
    FlashMeter meter(WIDTH, HEIGHT, rate);
    FlashMeter::Flashes worst{0, 0, 0, 0};
    std::vector<std::uint8_t> picture(WIDTH * HEIGHT * 4);
    for (int number = 0; number < SECONDS * rate; ++number) {
        auto* pixel = picture.data();
        for (int y = 0; y < HEIGHT; ++y) {
            for (int x = 0; x < WIDTH; ++x, pixel += 4) {
                const Color color = film(x, y, static_cast<double>(number) / rate);
                pixel[0] = static_cast<std::uint8_t>(color.blue);
                pixel[1] = static_cast<std::uint8_t>(color.green);
                pixel[2] = static_cast<std::uint8_t>(color.red);
            }
        }
        const FlashMeter::Flashes now = meter.add(picture.data());
        worst = {std::max(worst.general, now.general), std::max(worst.red, now.red),
                 std::max(worst.generalInStep, now.generalInStep),
                 std::max(worst.redInStep, now.redInStep)};
    }
    QTEST(worst.general, "general");
    QTEST(worst.red, "red");
    QTEST(worst.generalInStep, "generalInStep");
    QTEST(worst.redInStep, "redInStep");
}

void FlashMeterTest::secondEnds()
{
    FlashMeter meter(1, 1, 4);
    const auto add = [&](int grey) {
        const auto byte = static_cast<std::uint8_t>(grey);
        const std::uint8_t pixel[4] = {byte, byte, byte, 0};
        return meter.add(pixel).general;
    };
    QCOMPARE(add(0), 0);
    QCOMPARE(add(255), 0);
    QCOMPARE(add(0), 1);
    QCOMPARE(add(0), 1);
    // Up with the fourth picture from here, and no longer within a second with the fifth.
    QCOMPARE(add(0), 1);
    QCOMPARE(add(0), 0);
}

QTEST_APPLESS_MAIN(FlashMeterTest)
#include "flashmetertest.moc"
