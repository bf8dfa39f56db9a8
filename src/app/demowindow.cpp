#include "app/demowindow.h"

#include "demo/demomain.h"
#include "platform/glsurface.h"

#include <QCoreApplication>
#include <QTimer>

#include <GLES2/gl2.h>

namespace {
const int FRAME_INTERVAL_MS = 50;
}

DemoWindow::DemoWindow(QWidget* parent) : QGLWidget(parent), timer(nullptr) {}

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
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    demoMain = std::make_unique<DemoMain>(this);
    demoMain->init();

    timer = new QTimer(this);
    // A coarse timer may be 5 % late, and the cuts would drift away from the music.
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this] { platform::wakeSurface(this); });
    connect(timer, SIGNAL(timeout()), this, SLOT(updateGL()));
    timer->start(FRAME_INTERVAL_MS);
}

void DemoWindow::resizeGL(int width, int height)
{
    glViewport(0, 0, width, height);
}

void DemoWindow::paintGL()
{
    if (demoMain->paint() == 0) {
        QCoreApplication::exit(0);
    }
}
