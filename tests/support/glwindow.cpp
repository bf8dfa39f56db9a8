#include "support/glwindow.h"

#include <QGLContext>
#include <QTest>

GlWindow::GlWindow()
{
    setAutoBufferSwap(false);
    resize(800, 480);
    show();
    if (QTest::qWaitForWindowExposed(this)) {
        makeCurrent();
        // The driver takes the window's size only with a swap.
        swapBuffers();
    }
}

bool GlWindow::isReady() const
{
    return isValid() && QGLContext::currentContext() == context();
}

QImage GlWindow::pixels()
{
    return grabFrameBuffer();
}
