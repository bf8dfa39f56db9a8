// Loaded into the program before its libraries, it writes down when each frame was shown, in
// seconds of the machine's steady clock, a line each, into the file that FRAME_TIMES names.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>

extern "C" void glXSwapBuffers(void* display, unsigned long drawable)
{
    using Swap = void (*)(void*, unsigned long);
    static const auto swap = reinterpret_cast<Swap>(dlsym(RTLD_NEXT, "glXSwapBuffers"));
    static FILE* const times = std::fopen(std::getenv("FRAME_TIMES"), "we");
    swap(display, drawable);
    if (times) {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        std::fprintf(times, "%ld.%06ld\n", now.tv_sec, now.tv_nsec / 1000);
        std::fflush(times);
    }
}
