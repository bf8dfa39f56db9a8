#pragma once

#include <memory>

class QWindow;

namespace platform {

class BlankingPause;
class IdleRequests;

/// Keeps a Wayland compositor from taking the screen for idle, or an X server from blanking it, for
/// as long as this lives and, under Wayland, the window can be seen. A desktop's service does that
/// as well where there is one; a compositor or a server alone has nothing else. Without effect on
/// other platforms, where it is not offered, and in a program that was built without it.
class IdleInhibitor
{
public:
    IdleInhibitor();
    /// Lets go of it; compositor and server do so themselves when this process dies.
    ~IdleInhibitor();

    /// Asks for it, and returns at once. `window` is one that is shown, and not destroyed while
    /// this lives. A second call changes nothing.
    void hold(QWindow* window);

private:
    std::unique_ptr<IdleRequests> requests; ///< Null where there is no Wayland.
    std::unique_ptr<BlankingPause> pause;   ///< Null where there is no X.
};

} // namespace platform
