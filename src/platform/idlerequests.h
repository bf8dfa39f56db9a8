#pragma once

#include <cstdint>
#include <functional>

struct wl_display;
struct wl_registry;
struct wl_surface;
struct zwp_idle_inhibit_manager_v1;
struct zwp_idle_inhibitor_v1;

namespace platform {

/// What IdleInhibitor asks of a Wayland compositor, over a connection of somebody else's, who sends
/// what is written to it and hears what comes. Everything here is for the thread that does so.
class IdleRequests
{
public:
    using SurfaceSource = std::function<wl_surface*()>;

    /// Has the compositor name what it offers. Where it can be held awake, `surface` is asked for
    /// the surface to do so for; null for one that is not there any more.
    IdleRequests(wl_display* display, SurfaceSource surface);
    /// The connection must still be there, its surface need not.
    ~IdleRequests();
    IdleRequests(const IdleRequests&) = delete;
    IdleRequests& operator=(const IdleRequests&) = delete;

    bool isHeld() const;

private:
    static void offered(void* self, wl_registry* registry, uint32_t name, const char* interface,
                        uint32_t version);
    void hold(uint32_t name);

    SurfaceSource surface;
    wl_registry* registry; ///< These are all its own; made here, destroyed in the destructor.
    zwp_idle_inhibit_manager_v1* manager = nullptr;
    zwp_idle_inhibitor_v1* inhibitor = nullptr;
};

} // namespace platform
