#include "platform/idleinhibitor.h"

#include "platform/blankingpause.h"
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
    if (!native || requests || pause) {
        return;
    }
    if (void* server = native->nativeResourceForIntegration("connection")) {
        pause = std::make_unique<BlankingPause>(static_cast<xcb_connection_t*>(server));
    }
    if (void* display = native->nativeResourceForIntegration("wl_display")) {
        const auto surface = [native, window]() -> wl_surface* {
            // Qt would look into the platform's window without asking whether there is one.
            return window->handle() ? static_cast<wl_surface*>(
                                          native->nativeResourceForWindow("surface", window))
                                    : nullptr;
        };
        requests = std::make_unique<IdleRequests>(static_cast<wl_display*>(display), surface);
    }
}

} // namespace platform
