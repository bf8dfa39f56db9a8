#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

/// Loaded into every program that tools/phone-check runs in the emulator, so that it can start
/// others. QProcess asks the kernel whether it knows file descriptors for processes, hears that it
/// does, and is let down by the emulator, which does not: a child's end would go unnoticed. Told
/// no, it waits for a signal instead, and that signal must not break off Mesa's talks with its
/// drawing server, where nobody tries again. And a program that starts itself once more knows only
/// its own file, which this machine cannot run; beside it lies the script that can.

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

/// Between fork and exec: nothing is allocated here.
class Startable
{
public:
    explicit Startable(const char* program) : m_program(program)
    {
        static const char SUFFIX[] = ".emulated"; // As in toolchain.cmake.
        const size_t suffix = sizeof SUFFIX - 1;
        const size_t length = std::strlen(program);
        if (length > suffix && length < sizeof m_script &&
            std::strcmp(program + length - suffix, SUFFIX) == 0) {
            std::memcpy(m_script, program, length - suffix);
            m_script[length - suffix] = '\0';
            m_program = m_script;
        }
    }

    const char* path() const
    {
        return m_program;
    }

private:
    const char* m_program;
    char m_script[PATH_MAX];
};

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

extern "C" int execve(const char* program, char* const arguments[],
                      char* const variables[]) noexcept
{
    static auto* const real = next<decltype(execve)>("execve");
    return real(Startable(program).path(), arguments, variables);
}

extern "C" int execv(const char* program, char* const arguments[]) noexcept
{
    return execve(program, arguments, environ);
}
