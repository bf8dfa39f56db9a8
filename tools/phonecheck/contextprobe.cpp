#include <QApplication>
#include <QGLWidget>

#include <GLES2/gl2.h>

#include <cstdio>
#include <cstring>

/// Tells what GL a QGLWidget gets here. Exit code 0 where that is OpenGL ES 2.0 and no later
/// version, else 1.
int main(int argc, char* argv[])
{
    // OpenGL ES begins its version so; what comes after it is the driver's own.
    static const char ES2[] = "OpenGL ES 2.0 ";
    QApplication application(argc, argv);
    QGLWidget widget;
    widget.show();
    widget.makeCurrent();
    for (const GLenum name : {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION}) {
        const GLubyte* text = glGetString(name);
        std::printf("      %s\n", text ? reinterpret_cast<const char*>(text) : "(no context)");
    }
    const GLubyte* version = glGetString(GL_VERSION);
    return version && std::strncmp(reinterpret_cast<const char*>(version), ES2, sizeof ES2 - 1) == 0
               ? 0
               : 1;
}
