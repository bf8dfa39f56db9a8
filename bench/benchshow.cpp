#include "app/demowindow.h"
#include "demo/demomain_p.h"
#include "demo/timing.h"

#include "support/testclock.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <sys/resource.h>

// Plays the whole show and prints what its frames cost:
//   pixmoth-bench-show WIDTH HEIGHT throttled|unthrottled [START]
// Throttled, it runs in real time on its own timer; unthrottled, under a clock that jumps a tick
// with each frame. START is the moment of the process's start, in nanoseconds as `date +%s%N` gives
// them. tools/bench-show makes tables of the output.

namespace {

struct Frame
{
    int part;
    double work;      ///< Milliseconds from the frame's begin to its last pixel.
    double sinceLast; ///< Milliseconds from begin to begin.
};

double percentile(QVector<double> values, int percent)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0.0 : values[(values.size() - 1) * percent / 100];
}

double now()
{
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec * 1e3 + time.tv_nsec / 1e6;
}

class BenchWindow : public DemoWindow
{
public:
    explicit BenchWindow(double start) : start(start) {}

    void paintGL() override
    {
        const double begin = now();
        DemoWindow::paintGL();
        glFinish();
        const double end = now();
        if (frames.isEmpty()) {
            firstFrame = end - start;
        }
        const int part = demoMain->d->partIndex + 1;
        if (part <= demoMain->d->parts.size()) {
            frames.append(Frame{part, end - begin, frames.isEmpty() ? 0.0 : begin - lastBegin});
        }
        lastBegin = begin;
    }

    QVector<Frame> frames;
    double start;
    double lastBegin = 0.0;
    double firstFrame = 0.0;
};

/// Kilobytes; the most that was resident at a time.
int peakMemory()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<int>(usage.ru_maxrss);
}

double processorSeconds()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void print(const char* name, const QVector<Frame>& frames)
{
    QVector<double> work;
    int missed = 0;
    for (const Frame& frame : frames) {
        work.append(frame.work);
        missed += std::max(0, static_cast<int>(std::lround(frame.sinceLast / TICK_MS)) - 1);
    }
    std::printf("%-6s %6d %8.2f %8.2f %8.2f %8.2f %7d\n", name, work.size(), percentile(work, 50),
                percentile(work, 95), percentile(work, 99), percentile(work, 100), missed);
}

} // namespace

int main(int argc, char* argv[])
{
    const double called = now();
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr,
                     "usage: pixmoth-bench-show WIDTH HEIGHT throttled|unthrottled [START]\n");
        return 2;
    }
    const bool throttled = arguments[3] == "throttled";
    BenchWindow window(arguments.size() > 4 ? arguments[4].toDouble() / 1e6 : called);
    window.resize(arguments[1].toInt(), arguments[2].toInt());
    window.show();

    if (throttled) {
        application.exec();
    } else {
        testclock::takeOver();
        // The usual five seconds are short where all processors are busy.
        if (!QTest::qWaitForWindowExposed(&window, 60000)) {
            std::fprintf(stderr, "pixmoth-bench-show: the screen does not show the window\n");
            return 1;
        }
        window.timer->stop();
        const int parts = window.demoMain->d->parts.size();
        while (window.demoMain->d->partIndex < parts) {
            testclock::advance(TICK_MS);
            while (!window.demoMain->speech()->isReady()) {
                QTest::qWait(1);
            }
            window.updateGL();
        }
    }

    std::printf("size %d x %d, %s\n", window.width(), window.height(),
                throttled ? "throttled" : "unthrottled");
    std::printf("%-6s %6s %8s %8s %8s %8s %7s\n", "part", "frames", "p50 ms", "p95 ms", "p99 ms",
                "max ms", "missed");
    const int parts = window.demoMain->d->parts.size();
    for (int part = 1; part <= parts; ++part) {
        QVector<Frame> frames;
        std::copy_if(window.frames.begin(), window.frames.end(), std::back_inserter(frames),
                     [part](const Frame& frame) { return frame.part == part; });
        print(qPrintable(QString::number(part)), frames);
    }
    print("all", window.frames);
    // The first second loads fonts and builds the painter's own programs.
    print("later", window.frames.mid(20));
    double total = 0.0;
    for (const Frame& frame : window.frames) {
        total += frame.work;
    }
    std::printf("work of all frames %.2f s; first frame after %.0f ms; peak memory %.1f MB; "
                "processor time %.1f s\n",
                total / 1e3, window.firstFrame, peakMemory() / 1024.0, processorSeconds());
    return 0;
}
