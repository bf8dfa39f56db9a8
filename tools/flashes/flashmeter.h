#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Counts flashes in a sequence of pictures, as WCAG 2.1 (2.3.1, Three Flashes or Below Threshold)
/// defines them. A general flash is a pair of opposing changes of relative luminance by 0.1 or more
/// each, where the darker side is below 0.8. A red flash is a pair of opposing changes of redness,
/// (R - G - B) × 320, by more than 20 each, to or from a colour of which red is four fifths or
/// more.
///
/// What counts is a quarter of a block of a third of the picture by a third (341 × 256 of
/// 1024 × 768 pixels), joined or not, wherever the block lies (for the narrower sense at every
/// eighth pixel). "Concurrently" can be read in two ways, and both are counted. In the wider one
/// every pixel counts its own flashes, and those count together that flash so often in the same
/// second. In the narrower one they have to flash in step: a quarter of the block more turns up
/// than down, or down than up, within an eighth of a second. Moving lines and dots flash in the
/// wider sense alone.
class FlashMeter
{
public:
    /// In the second that ends with a picture, in the block that flashes most.
    struct Flashes
    {
        int general;
        int red;
        int generalInStep;
        int redInStep;
    };

    /// `picturesASecond`: from 1 to 64.
    FlashMeter(int width, int height, int picturesASecond);

    /// The next picture: 4 bytes a pixel, blue, green, red and one that does not matter, row by
    /// row, coded as sRGB. The first one changes nothing: before it there was none.
    Flashes add(const std::uint8_t* pixels);

private:
    struct Level
    {
        float value;
        bool saturated; ///< Whether this colour was a saturated red.
    };

    enum Direction : std::uint8_t { Neither, Rising, Falling };

    /// How a pixel, or a block, goes up and down.
    struct Turns
    {
        Direction direction = Neither;
        std::uint64_t pictures = 0; ///< A bit for each of the last second, this one's the lowest.

        void turn(Direction to);
        int flashes() const;
    };

    struct Course
    {
        Level low;  ///< The lowest since it began to fall.
        Level high; ///< The highest since it began to rise.
        Turns turns;
    };

    /// All that is known of one kind of flashes.
    struct Kind
    {
        std::vector<Course> courses;
        std::vector<Turns> blocks; ///< In the rows and columns of a grid.
        int worst = 0;             ///< Of the picture before; the search begins with it.
    };

    static bool isGeneral(const Level& low, const Level& high);
    static bool isRed(const Level& low, const Level& high);
    template <typename IsChange>
    void follow(Course& course, const Level& now, IsChange isChange);
    int worst(const Kind& kind);
    bool fillsABlock(const Kind& kind, int flashes);
    int worstInStep(Kind& kind);
    /// Sums up what `valueOf` answers of each pixel's turns.
    template <typename ValueOf>
    void sumUp(const Kind& kind, ValueOf valueOf);
    /// Of the block whose first pixel this is.
    int sumOfBlock(int x, int y) const;

    int width;
    int height;
    int blockWidth;
    int blockHeight;
    int enough;           ///< Pixels of a block.
    std::uint64_t second; ///< The bits of the pictures of a second.
    std::uint64_t step;   ///< Of those that are one step.
    bool first = true;
    float linear[256];
    Kind general;
    Kind red;
    std::vector<int> sums; ///< Of the pixels above and to the left.
};
