#pragma once

#include <QApplication>
#include <QGLWidget>
#include <QTimer>

#include <GLES2/gl2.h>

#include <cstdio>
#include <ctime>
#include <sys/resource.h>

/// A window with a GL surface that measures its own start: it clears twenty frames, one a tick.
class StartWindow : public QGLWidget
{
public:
    /// What it has besides, once; the context is current.
    virtual void furnish() {}
    /// What it draws into each frame, which has been cleared.
    virtual void draw() {}

    void initializeGL() override
    {
        furnish();
    }

    void paintGL() override
    {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw();
        glFinish();
        frames += 1;
        if (frames == 1) {
            timespec time;
            clock_gettime(CLOCK_REALTIME, &time);
            firstFrame = time.tv_sec * 1e3 + time.tv_nsec / 1e6;
        }
        if (frames == 20) {
            QCoreApplication::quit();
        }
    }

    double firstFrame = 0.0; ///< Milliseconds since 1970.
    int frames = 0;
};

/// Has a window of that kind play and prints when its first frame was drawn and the most memory
/// that was resident. The arguments of the program are the window's width and height and the moment
/// of the process's start, in nanoseconds as `date +%s%N` gives them. Returns the exit code.
template <typename Window>
int measureStart(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "usage: %s WIDTH HEIGHT START\n", argv[0]);
        return 2;
    }
    Window window;
    window.resize(arguments[1].toInt(), arguments[2].toInt());
    window.show();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &window, &QGLWidget::updateGL);
    timer.start(50);
    application.exec();
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("first frame after %.0f ms; peak memory %.1f MB\n",
                window.firstFrame - arguments[3].toDouble() / 1e6, usage.ru_maxrss / 1024.0);
    return 0;
}
