#pragma once

#include <functional>

#include <sys/types.h>

class QDeadlineTimer;

namespace platform {

/// A question to somebody who may never answer, such as a server that is frozen. No library that
/// asks one takes a limit of time for all that it does, from looking up a machine's name to the
/// last word of a greeting. So a child process asks, and is ended where it takes too long.
///
/// For a process without other threads: the child has none but the one that asks, and would wait
/// for ever for what another one had locked.
class Inquiry
{
public:
    /// Begins to ask. `question` runs in the child; what it changes there stays there.
    explicit Inquiry(const std::function<void()>& question);
    Inquiry(const Inquiry&) = delete;
    Inquiry& operator=(const Inquiry&) = delete;
    /// Ends the child, and with it whatever the question has started.
    ~Inquiry();

    /// Waits for the question to be over, whatever came of it; false where the time is over first.
    /// True as well where the system has no room for a child: nothing is known then.
    bool isOverBy(const QDeadlineTimer& deadline) const;

private:
    pid_t asker;
    int ending; ///< At its end when the child is.
};

} // namespace platform
