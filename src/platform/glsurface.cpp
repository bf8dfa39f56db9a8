#include "platform/glsurface.h"

#include <QGLContext>
#include <QGLFramebufferObject>
#include <QGLShaderProgram>
#include <QGLWidget>
#include <QSize>
#include <QString>
#include <QWidget>

#include <GLES2/gl2.h>

#include <cstring>

namespace platform {

QString glProblem(const QGLWidget* surface)
{
    if (!surface->isValid()) {
        return "no OpenGL context can be had";
    }
    if (QGLContext::currentContext() != surface->context()) {
        return "the OpenGL context cannot be made current";
    }
    QString missing;
    if (!QGLShaderProgram::hasOpenGLShaderPrograms(surface->context())) {
        missing = "shaders";
    } else if (!QGLFramebufferObject::hasOpenGLFramebufferObjects()) {
        missing = "framebuffer objects";
    } else {
        return QString();
    }
    return QString("OpenGL %1 (%2) has no %3")
        .arg(reinterpret_cast<const char*>(glGetString(GL_VERSION)),
             reinterpret_cast<const char*>(glGetString(GL_RENDERER)), missing);
}

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
