#include "platform/idlerequests.h"

#include "idle-inhibit-client.h"

#include <cstring>
#include <utility>

namespace platform {

IdleRequests::IdleRequests(wl_display* display, SurfaceSource surface)
    : surface(std::move(surface)), registry(wl_display_get_registry(display))
{
    static const wl_registry_listener LISTENER = {&IdleRequests::offered,
                                                  [](void*, wl_registry*, uint32_t) {}};
    wl_registry_add_listener(registry, &LISTENER, this);
}

IdleRequests::~IdleRequests()
{
    if (inhibitor) {
        zwp_idle_inhibitor_v1_destroy(inhibitor);
    }
    if (manager) {
        zwp_idle_inhibit_manager_v1_destroy(manager);
    }
    wl_registry_destroy(registry);
}

bool IdleRequests::isHeld() const
{
    return inhibitor;
}

void IdleRequests::offered(void* self, wl_registry*, uint32_t name, const char* interface, uint32_t)
{
    if (std::strcmp(interface, zwp_idle_inhibit_manager_v1_interface.name) == 0) {
        static_cast<IdleRequests*>(self)->hold(name);
    }
}

void IdleRequests::hold(uint32_t name)
{
    wl_surface* seen = surface();
    if (!seen || manager) {
        return;
    }
    manager = static_cast<zwp_idle_inhibit_manager_v1*>(
        wl_registry_bind(registry, name, &zwp_idle_inhibit_manager_v1_interface, 1));
    inhibitor = zwp_idle_inhibit_manager_v1_create_inhibitor(manager, seen);
}

} // namespace platform
