#include "flashes/flashmeter.h"

#include <cstdio>
#include <cstdlib>

/// Counts the flashes in a film of raw pictures, blue, green, red and a fourth byte a pixel:
///   pixmoth-flashes WIDTH HEIGHT PICTURES-A-SECOND <FILM
/// Prints a line for each picture, of the second that ends with it and the block that flashes most:
/// how many general flashes there were, how many red ones, and how many of either in step.
int main(int argc, char* argv[])
{
    const int width = argc == 4 ? std::atoi(argv[1]) : 0;
    const int height = argc == 4 ? std::atoi(argv[2]) : 0;
    const int rate = argc == 4 ? std::atoi(argv[3]) : 0;
    if (width < 1 || height < 1 || rate < 1 || rate > 64) {
        std::fprintf(stderr, "usage: pixmoth-flashes WIDTH HEIGHT PICTURES-A-SECOND <FILM\n");
        return 2;
    }
    FlashMeter meter(width, height, rate);
    std::vector<std::uint8_t> picture(static_cast<std::size_t>(width) * height * 4);
    while (std::fread(picture.data(), picture.size(), 1, stdin) == 1) {
        const FlashMeter::Flashes flashes = meter.add(picture.data());
        std::printf("%d %d %d %d\n", flashes.general, flashes.red, flashes.generalInStep,
                    flashes.redInStep);
    }
    return 0;
}
