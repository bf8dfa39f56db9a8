#include "platform/glsurface.h"

#include <QWidget>

#include <GLES2/gl2.h>

#include <cstring>

namespace platform {

void wakeSurface(QWidget* surface)
{
    if (!surface->testAttribute(Qt::WA_Mapped) && surface->window()->testAttribute(Qt::WA_Mapped)) {
        // Under Wayland Qt tells it only when its size changes, and on a screen just as large as
        // the window it never would.
        const QSize whole = surface->size();
        surface->resize(whole.width(), whole.height() - 1);
        surface->resize(whole);
    }
}

bool driverGathersDraws()
{
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    return renderer && std::strstr(renderer, "llvmpipe");
}

} // namespace platform
