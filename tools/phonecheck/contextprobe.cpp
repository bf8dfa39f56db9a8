#include <QApplication>
#include <QGLWidget>

#include <GLES2/gl2.h>

#include <cstdio>
#include <cstring>

/// Tells what GL a QGLWidget gets here. Exit code 0 where its version begins with the first
/// argument, else 2; 1 is the loader's, where the program does not run at all.
int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const char* wanted = argv[1];
    QGLWidget widget;
    widget.show();
    widget.makeCurrent();
    for (const GLenum name : {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION}) {
        const GLubyte* text = glGetString(name);
        std::printf("      %s\n", text ? reinterpret_cast<const char*>(text) : "(no context)");
    }
    const GLubyte* version = glGetString(GL_VERSION);
    return version && std::strncmp(reinterpret_cast<const char*>(version), wanted,
                                   std::strlen(wanted)) == 0
               ? 0
               : 2;
}
