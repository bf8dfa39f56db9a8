#include "support/testclock.h"

#include <cstdlib>
#include <ctime>
#include <sys/time.h>

namespace {

bool owned = false;
long long milliseconds = 0;

/// A fixed zone, so that the noon that is set is noon here, too: far from midnight, where QTime
/// wraps. Set before main, so that no QTime has seen another.
const bool zoneSet = [] {
    setenv("TZ", "UTC", 1);
    tzset();
    return true;
}();

} // namespace

namespace testclock {

void takeOver()
{
    owned = true;
    milliseconds = 1'600'000'000'000LL / 86'400'000 * 86'400'000 + 12 * 3'600'000;
}

void giveBack()
{
    owned = false;
}

void advance(int step)
{
    milliseconds += step;
}

} // namespace testclock

extern "C" int gettimeofday(struct timeval* now, void*) noexcept
{
    if (owned) {
        now->tv_sec = static_cast<time_t>(milliseconds / 1000);
        now->tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
    } else {
        timespec real;
        clock_gettime(CLOCK_REALTIME, &real);
        now->tv_sec = real.tv_sec;
        now->tv_usec = real.tv_nsec / 1000;
    }
    return 0;
}
