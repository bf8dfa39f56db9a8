#include "platform/inquiry.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {

Inquiry::Inquiry(const std::function<void()>& question) : asker(-1), ending(-1)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    const pid_t self = ::getpid();
    asker = ::fork();
    if (asker == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() == self) {
            question();
        }
        ::_exit(0);
    }
    ::close(ends[1]);
    ending = ends[0];
    if (asker > 0) {
        // Here as well: whoever comes first, the group is there when it has to be ended.
        ::setpgid(asker, asker);
    }
}

Inquiry::~Inquiry()
{
    if (asker > 0) {
        ::kill(-asker, SIGKILL);
        while (::waitpid(asker, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    if (ending >= 0) {
        ::close(ending);
    }
}

bool Inquiry::isOverBy(const QDeadlineTimer& deadline) const
{
    if (ending < 0) {
        return true;
    }
    pollfd waiting = {ending, POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&waiting, 1, static_cast<int>(deadline.remainingTime()));
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

} // namespace platform
