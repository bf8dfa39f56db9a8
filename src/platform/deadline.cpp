#include "platform/deadline.h"

#include <csignal>
#include <sys/time.h>
#include <unistd.h>

namespace platform {

namespace {

volatile std::sig_atomic_t code = 0;

/// Anything may be half done at this moment: nothing is called here that a signal may not.
void endNow(int)
{
    const char line[] = "pixmoth.platform: Something hangs on the way out: ended without it\n";
    if (::write(STDERR_FILENO, line, sizeof line - 1) < 0) {
        // Nobody is there to be told.
    }
    ::_exit(code);
}

} // namespace

void endWithin(int limitMs, int exitCode)
{
    code = exitCode;
    struct sigaction action = {};
    action.sa_handler = endNow;
    sigfillset(&action.sa_mask);
    ::sigaction(SIGALRM, &action, nullptr);
    // Whoever started us may have blocked it.
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);

    itimerval timer = {};
    timer.it_value.tv_sec = limitMs / 1000;
    timer.it_value.tv_usec = limitMs % 1000 * 1000;
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace platform
