#include "platform/idleinhibitor.h"

#include "platform/idlerequests.h"

#include <QGuiApplication>
#include <QWindow>

#include <qpa/qplatformnativeinterface.h>

namespace platform {

IdleInhibitor::IdleInhibitor() = default;

IdleInhibitor::~IdleInhibitor() = default;

void IdleInhibitor::hold(QWindow* window)
{
    // The toolkit has no public way to its connection and its surfaces.
    QPlatformNativeInterface* native = QGuiApplication::platformNativeInterface();
    void* display = native ? native->nativeResourceForIntegration("wl_display") : nullptr;
    if (!display || requests) {
        return;
    }
    const auto surface = [native, window]() -> wl_surface* {
        // Qt would look into the platform's window without asking whether there is one.
        return window->handle()
                   ? static_cast<wl_surface*>(native->nativeResourceForWindow("surface", window))
                   : nullptr;
    };
    requests = std::make_unique<IdleRequests>(static_cast<wl_display*>(display), surface);
}

} // namespace platform
