#include <QApplication>
#include <QGLWidget>
#include <QTimer>

#include <GLES2/gl2.h>

#include <cstdio>
#include <ctime>
#include <sys/resource.h>

// The least that a program with a GL surface of this toolkit takes to its first frame, and of
// memory: clears twenty frames and prints both.
//   pixmoth-bench-empty WIDTH HEIGHT START
// START is the moment of the process's start, in nanoseconds as `date +%s%N` gives them.

namespace {

class EmptyWindow : public QGLWidget
{
public:
    explicit EmptyWindow(double start) : start(start) {}

    void paintGL() override
    {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glFinish();
        frames += 1;
        if (frames == 1) {
            timespec time;
            clock_gettime(CLOCK_REALTIME, &time);
            firstFrame = time.tv_sec * 1e3 + time.tv_nsec / 1e6 - start;
        }
        if (frames == 20) {
            QCoreApplication::quit();
        }
    }

    double start;
    double firstFrame = 0.0;
    int frames = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr, "usage: pixmoth-bench-empty WIDTH HEIGHT START\n");
        return 2;
    }
    EmptyWindow window(arguments[3].toDouble() / 1e6);
    window.resize(arguments[1].toInt(), arguments[2].toInt());
    window.show();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &window, &EmptyWindow::updateGL);
    timer.start(50);
    application.exec();
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("first frame after %.0f ms; peak memory %.1f MB\n", window.firstFrame,
                usage.ru_maxrss / 1024.0);
    return 0;
}
