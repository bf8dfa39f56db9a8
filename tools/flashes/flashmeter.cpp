#include "flashes/flashmeter.h"

#include <algorithm>
#include <bitset>
#include <cmath>

namespace {

const float LUMINANCE_CHANGE = 0.1f;
const float LUMINANCE_OF_DARKER = 0.8f;
const float REDNESS_CHANGE = 20.0f;
const float REDNESS_SCALE = 320.0f;
const float SATURATED = 0.8f;

const double BLOCK_WIDTH = 341.0 / 1024.0; ///< Of the picture's.
const double BLOCK_HEIGHT = 256.0 / 768.0;
const double BLOCK_SHARE = 0.25;

/// More than three flashes a second turn at least every eighth of it.
const int STEPS_A_SECOND = 8;
/// Pixels between the blocks in which steps are looked for.
const int GRID = 8;

int placesOfBlock(int length, int block)
{
    return (length - block) / GRID + 1;
}

std::uint64_t lowBits(int count)
{
    return ~std::uint64_t(0) >> (64 - count);
}

} // namespace

FlashMeter::FlashMeter(int width, int height, int picturesASecond)
    : width(width)
    , height(height)
    , blockWidth(std::max(1, static_cast<int>(std::lround(width * BLOCK_WIDTH))))
    , blockHeight(std::max(1, static_cast<int>(std::lround(height * BLOCK_HEIGHT))))
    , enough(static_cast<int>(std::ceil(blockWidth * blockHeight * BLOCK_SHARE)))
    , second(lowBits(picturesASecond))
    , step(lowBits((picturesASecond + STEPS_A_SECOND - 1) / STEPS_A_SECOND))
    , sums(static_cast<std::size_t>(width + 1) * (height + 1))
{
    for (int code = 0; code < 256; ++code) {
        const float share = static_cast<float>(code) / 255.0f;
        linear[code] =
            share <= 0.04045f ? share / 12.92f : std::pow((share + 0.055f) / 1.055f, 2.4f);
    }
    for (Kind* kind : {&general, &red}) {
        kind->courses.resize(static_cast<std::size_t>(width) * height);
        kind->blocks.resize(static_cast<std::size_t>(placesOfBlock(width, blockWidth)) *
                            placesOfBlock(height, blockHeight));
    }
}

FlashMeter::Flashes FlashMeter::add(const std::uint8_t* pixels)
{
    for (std::size_t i = 0; i < general.courses.size(); ++i, pixels += 4) {
        const float b = linear[pixels[0]];
        const float g = linear[pixels[1]];
        const float r = linear[pixels[2]];
        const bool saturated = r > 0.0f && r >= SATURATED * (r + g + b);
        follow(general.courses[i], {0.2126f * r + 0.7152f * g + 0.0722f * b, saturated}, isGeneral);
        follow(red.courses[i], {std::max(0.0f, r - g - b) * REDNESS_SCALE, saturated}, isRed);
    }
    first = false;
    general.worst = worst(general);
    red.worst = worst(red);
    return {general.worst, red.worst, worstInStep(general), worstInStep(red)};
}

bool FlashMeter::isGeneral(const Level& low, const Level& high)
{
    return high.value - low.value >= LUMINANCE_CHANGE && low.value < LUMINANCE_OF_DARKER;
}

bool FlashMeter::isRed(const Level& low, const Level& high)
{
    return high.value - low.value > REDNESS_CHANGE && (low.saturated || high.saturated);
}

void FlashMeter::Turns::turn(Direction to)
{
    direction = to;
    pictures |= 1;
}

int FlashMeter::Turns::flashes() const
{
    return static_cast<int>(std::bitset<64>(pictures).count() / 2);
}

template <typename IsChange>
void FlashMeter::follow(Course& course, const Level& now, IsChange isChange)
{
    if (first) {
        course.low = course.high = now;
    }
    Turns& turns = course.turns;
    turns.pictures = turns.pictures << 1 & second;
    if (turns.direction != Rising && isChange(course.low, now)) {
        turns.turn(Rising);
        course.high = now;
    } else if (turns.direction != Falling && isChange(now, course.high)) {
        turns.turn(Falling);
        course.low = now;
    }
    if (now.value > course.high.value) {
        course.high = now;
    }
    if (now.value < course.low.value) {
        course.low = now;
    }
}

int FlashMeter::worst(const Kind& kind)
{
    int flashes = kind.worst;
    while (flashes > 0 && !fillsABlock(kind, flashes)) {
        --flashes;
    }
    while (fillsABlock(kind, flashes + 1)) {
        ++flashes;
    }
    return flashes;
}

bool FlashMeter::fillsABlock(const Kind& kind, int flashes)
{
    sumUp(kind, [&](const Turns& turns) { return turns.flashes() >= flashes ? 1 : 0; });
    for (int y = 0; y + blockHeight <= height; ++y) {
        for (int x = 0; x + blockWidth <= width; ++x) {
            if (sumOfBlock(x, y) >= enough) {
                return true;
            }
        }
    }
    return false;
}

int FlashMeter::worstInStep(Kind& kind)
{
    sumUp(kind, [&](const Turns& turns) {
        if ((turns.pictures & step) == 0) {
            return 0;
        }
        return turns.direction == Rising ? 1 : -1;
    });
    int flashes = 0;
    auto block = kind.blocks.begin();
    for (int y = 0; y + blockHeight <= height; y += GRID) {
        for (int x = 0; x + blockWidth <= width; x += GRID) {
            Turns& turns = *block++;
            turns.pictures = turns.pictures << 1 & second;
            const int surplus = sumOfBlock(x, y);
            if (turns.direction != Rising && surplus >= enough) {
                turns.turn(Rising);
            } else if (turns.direction != Falling && -surplus >= enough) {
                turns.turn(Falling);
            }
            flashes = std::max(flashes, turns.flashes());
        }
    }
    return flashes;
}

template <typename ValueOf>
void FlashMeter::sumUp(const Kind& kind, ValueOf valueOf)
{
    auto course = kind.courses.begin();
    const int* above = sums.data();
    int* here = sums.data() + width + 1;
    for (int y = 0; y < height; ++y) {
        int ofRow = 0;
        *here++ = *above++;
        for (int x = 0; x < width; ++x) {
            ofRow += valueOf((course++)->turns);
            *here++ = *above++ + ofRow;
        }
    }
}

int FlashMeter::sumOfBlock(int x, int y) const
{
    const std::size_t row = static_cast<std::size_t>(width) + 1;
    const int* top = &sums[y * row + x];
    const int* foot = top + blockHeight * row;
    return foot[blockWidth] - foot[0] - top[blockWidth] + top[0];
}
