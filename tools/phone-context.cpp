#include <QApplication>
#include <QGLWidget>

#include <GLES2/gl2.h>

#include <cstdio>

/// Tells what GL a QGLWidget gets here; for tools/phone-check.
int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QGLWidget widget;
    widget.show();
    widget.makeCurrent();
    for (const GLenum name : {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION}) {
        std::printf("      %s\n", reinterpret_cast<const char*>(glGetString(name)));
    }
    return 0;
}
