// Linked to a whole program, it makes each of its QTimes run forty times as fast: a show that takes
// a minute and a half is over in seconds, with fewer frames. Timers and deadlines keep their pace.

#include <ctime>
#include <sys/time.h>

extern "C" int gettimeofday(timeval* time, void*) noexcept
{
    const long long pace = 40;
    const long long million = 1'000'000;
    static const auto now = [] {
        timespec moment = {};
        clock_gettime(CLOCK_REALTIME, &moment);
        return moment.tv_sec * million + moment.tv_nsec / 1000;
    };
    static const long long start = now();
    const long long hurried = start + (now() - start) * pace;
    time->tv_sec = hurried / million;
    time->tv_usec = hurried % million;
    return 0;
}
