#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/syscall.h>

/// Loaded into every program that tools/phone-check runs in the emulator, so that it can start
/// others. QProcess asks the kernel whether it knows file descriptors for processes, hears that it
/// does, and is let down by the emulator, which does not: a child's end would go unnoticed. Told
/// no, it waits for a signal instead, and that signal must not break off Mesa's talks with its
/// drawing server, where nobody tries again.

namespace {

const long WAIT_FOR_DESCRIPTOR = 3; ///< P_PIDFD

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The children of the program are this machine's own and cannot load this.
__attribute__((constructor)) void keepFromChildren()
{
    unsetenv("LD_PRELOAD");
}

} // namespace

extern "C" long syscall(long number, ...) noexcept
{
    long arguments[6];
    va_list list;
    va_start(list, number);
    for (long& argument : arguments) {
        argument = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_waitid && arguments[0] == WAIT_FOR_DESCRIPTOR) {
        errno = ENOSYS;
        return -1;
    }
    static auto* const real = next<long(long, ...)>("syscall");
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                arguments[5]);
}

extern "C" int sigaction(int number, const struct sigaction* action,
                         struct sigaction* former) noexcept
{
    static auto* const real = next<decltype(sigaction)>("sigaction");
    if (number != SIGCHLD || !action) {
        return real(number, action, former);
    }
    struct sigaction restarting = *action;
    restarting.sa_flags |= SA_RESTART;
    return real(number, &restarting, former);
}
