#include "platform/alarm.h"

#include <csignal>
#include <sys/time.h>

namespace platform {

void answerAlarm(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigfillset(&action.sa_mask);
    ::sigaction(SIGALRM, &action, nullptr);
}

void setAlarm(int ms)
{
    itimerval timer = {};
    timer.it_value.tv_sec = ms / 1000;
    timer.it_value.tv_usec = ms % 1000 * 1000;
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace platform
