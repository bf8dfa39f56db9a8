#pragma once

#include <memory>

class QWindow;

namespace platform {

class IdleRequests;

/// Keeps a Wayland compositor from taking the screen for idle, for as long as this lives and the
/// window can be seen. A desktop's service does that as well where there is one; a compositor alone
/// has nothing else. Without effect where there is no Wayland, where the compositor does not offer
/// it, and in a program that was built without it.
class IdleInhibitor
{
public:
    IdleInhibitor();
    /// Lets go of it; the compositor does so itself when this process dies.
    ~IdleInhibitor();

    /// Asks for it, and returns at once. `window` is one that is shown, and not destroyed while
    /// this lives. A second call changes nothing.
    void hold(QWindow* window);

private:
    std::unique_ptr<IdleRequests> requests; ///< Null where there is nobody to ask.
};

} // namespace platform
