#include "app/demowindow.h"

#include "demo/demomain.h"
#include "demo/timing.h"
#include "platform/glsurface.h"
#include "platform/servicelog.h"

#include <QCoreApplication>
#include <QTimer>

#include <GLES2/gl2.h>

#include <cstdlib>

DemoWindow::DemoWindow(QWidget* parent) : QGLWidget(parent), timer(nullptr)
{
    if (!isValid()) {
        // Qt would never call initializeGL(), and the window would stay black for ever.
        giveUp();
    }
}

DemoWindow::~DemoWindow()
{
    if (demoMain) {
        // The show's GL objects are freed by their owners, who need the context for it.
        makeCurrent();
        demoMain.reset();
    }
}

void DemoWindow::initializeGL()
{
    // A warning box of the show's loading runs the event loop, and Qt, for which the surface is
    // made only when this function is through, comes here again.
    if (demoMain) {
        return;
    }
    // Until there is a frame, nothing is shown: what Qt would swap in holds whatever was in memory.
    setAutoBufferSwap(false);
    if (!platform::glProblem(this).isEmpty()) {
        giveUp();
        return;
    }
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    demoMain = std::make_unique<DemoMain>(this);
    demoMain->init();

    timer = new QTimer(this);
    // A coarse timer may be 5 % late, and the cuts would drift away from the music.
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this] { platform::wakeSurface(this); });
    connect(timer, &QTimer::timeout, this, &DemoWindow::updateGL);
    timer->start(TICK_MS);
    setAutoBufferSwap(true);
}

void DemoWindow::resizeGL(int width, int height)
{
    glViewport(0, 0, width, height);
}

void DemoWindow::paintGL()
{
    // The timer is made last: without one the show is not ready, or there is none.
    if (timer && demoMain->paint() == 0) {
        QCoreApplication::exit(0);
    }
}

void DemoWindow::giveUp()
{
    platform::reportNoPicture(platform::glProblem(this));
    // Repeated, since an exit() before the event loop runs has no effect.
    auto* insistence = new QTimer(this);
    connect(insistence, &QTimer::timeout, this, [] { QCoreApplication::exit(EXIT_FAILURE); });
    insistence->start(0);
}
