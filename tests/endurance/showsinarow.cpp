#include "demo/demomain_p.h"

#include "support/fakecontacts.h"
#include "support/glrecorder.h"
#include "support/glwindow.h"
#include "support/testclock.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>

#include <cstdio>

#include <malloc.h>

// Plays whole shows one after the other in one process, on a clock that runs ten times as fast, and
// prints after each what the process holds:
//   showsinarow SHOWS
// Ends with 1 when after the first few shows anything grew: memory beyond what the allocator may
// have scattered, open files, threads, children, GL objects. tools/endurance runs it.

namespace {

/// Shows until everything that is made once has been made: fonts, programs, plugins.
const int WARM_UP = 5;
/// Kilobytes that the resident memory may gain from the warm-up to the end.
const int SCATTER_KB = 4096;

struct Holdings
{
    int residentKb = 0;
    int files = 0;
    int threads = 0;
    int children = 0;
    int glObjects = 0;
};

int statusNumber(const QByteArray& key)
{
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key)) {
            return line.mid(key.size()).trimmed().split(' ').first().toInt();
        }
    }
    return -1;
}

int childCount()
{
    QFile children("/proc/self/task/" + QString::number(QCoreApplication::applicationPid()) +
                   "/children");
    children.open(QIODevice::ReadOnly);
    const QByteArray pids = children.readAll().simplified();
    return pids.isEmpty() ? 0 : pids.split(' ').size();
}

Holdings take()
{
    malloc_trim(0);
    Holdings now;
    now.residentKb = statusNumber("VmRSS:");
    now.threads = statusNumber("Threads:");
    now.files = QDir("/proc/self/fd")
                    .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
                    .size();
    now.children = childCount();
    now.glObjects = glrecorder::livingBuffers().size() + glrecorder::livingTextures().size();
    return now;
}

void playShow(GlWindow& window)
{
    DemoMain demo(&window);
    window.makeCurrent();
    demo.init();
    while (demo.paint() != 0) {
        window.swapBuffers();
        testclock::advance(500);
        QCoreApplication::processEvents();
        while (!demo.speech()->isReady()) {
            QTest::qWait(1);
        }
    }
    window.makeCurrent();
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const int shows = argc > 1 ? atoi(argv[1]) : 100;
    testclock::takeOver();
    fakecontacts::use();
    fakecontacts::setLabels({"Anna", "Bo", "Cleo", "Dora"});
    GlWindow window;
    if (!window.isReady()) {
        std::fprintf(stderr, "no GL context\n");
        return 1;
    }
    glrecorder::start(glrecorder::Fake);
    glrecorder::start(glrecorder::PassThrough);

    Holdings first;
    Holdings last;
    for (int show = 1; show <= shows; ++show) {
        testclock::takeOver();
        playShow(window);
        QTest::qWait(50); // What is deleted later is deleted now.
        last = take();
        std::printf("show %3d: %d kB resident, %d files, %d threads, %d children, %d GL objects\n",
                    show, last.residentKb, last.files, last.threads, last.children, last.glObjects);
        std::fflush(stdout);
        if (show == qMin(WARM_UP, shows)) {
            first = last;
        }
    }
    const bool flat = last.residentKb <= first.residentKb + SCATTER_KB &&
                      last.files <= first.files && last.threads <= first.threads &&
                      last.children == 0 && last.glObjects == 0;
    std::printf("%s\n", flat ? "flat" : "GREW");
    return flat ? 0 : 1;
}
