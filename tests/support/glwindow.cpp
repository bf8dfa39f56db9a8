#include "support/glwindow.h"

#include <QTest>

#include <dlfcn.h>
#include <link.h>

namespace {

int noteName(dl_phdr_info* info, size_t, void* names)
{
    static_cast<QVector<QByteArray>*>(names)->append(info->dlpi_name);
    return 0;
}

/// Lets no library go that is loaded now. The driver would be gone when a leak check at the end
/// looks for what it holds, and its leaks could not be told from ours by its name.
void keepLibraries()
{
    QVector<QByteArray> names;
    dl_iterate_phdr(noteName, &names);
    for (const QByteArray& name : qAsConst(names)) {
        if (!name.isEmpty()) {
            dlopen(name.constData(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
        }
    }
}

} // namespace

GlWindow::GlWindow()
{
    setAutoBufferSwap(false);
    resize(800, 480);
    show();
    if (QTest::qWaitForWindowExposed(this)) {
        makeCurrent();
        // The driver takes the window's size only with a swap.
        swapBuffers();
        keepLibraries();
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
