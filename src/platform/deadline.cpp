#include "platform/deadline.h"

#include "platform/alarm.h"

#include <csignal>
#include <unistd.h>

namespace platform {

namespace {

volatile std::sig_atomic_t code = 0;

/// Anything may be half done at this moment: nothing is called here that a signal may not.
void endNow(int)
{
    const char line[] = "pixmoth.platform: Something hangs on the way out: ended without it\n";
    if (::write(STDERR_FILENO, line, sizeof line - 1) < 0) {
        // Standard error is closed, and there is nowhere else to say it.
    }
    ::_exit(code);
}

} // namespace

void endWithin(int limitMs, int exitCode)
{
    code = exitCode;
    answerAlarm(endNow);
    // Whoever started us may have blocked it.
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    setAlarm(limitMs);
}

} // namespace platform
