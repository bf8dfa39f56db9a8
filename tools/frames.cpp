#include "demo/demomain_p.h"
#include "demo/timing.h"

#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/glwindow.h"
#include "support/testclock.h"

#include <QApplication>
#include <QDir>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

using FrameTaker = std::function<void(const DemoMain& demo, GlWindow& window)>;

FrameTaker intoFolder(const QDir& folder, const QStringList& moments)
{
    folder.mkpath(".");
    return [=](const DemoMain& demo, GlWindow& window) {
        const int part = demo.d->partIndex + 1;
        const int now = demo.d->partTime.elapsed();
        for (const QString& moment : moments) {
            if (now == qRound(moment.toDouble() * 1000 / TICK_MS) * TICK_MS) {
                const QString name = QString("%1-%2.png").arg(part, 2, 10, QChar('0')).arg(moment);
                window.pixels().save(folder.filePath(name));
            }
        }
    };
}

void intoFilm(const DemoMain&, GlWindow& window)
{
    const QImage frame = window.pixels();
    if (std::fwrite(frame.constBits(), frame.sizeInBytes(), 1, stdout) != 1) {
        // Nobody wants more.
        std::exit(1);
    }
}

} // namespace

/// Draws the whole show without waiting for its frames, and writes
///   pixmoth-frames FOLDER SECONDS…
/// FOLDER/NN-SECONDS.png for part NN at each of these moments;
///   pixmoth-frames --film SEED BATTERY
/// all frames to the standard output, 800 × 480 pixels of 4 bytes each: blue, green, red, nothing.
/// SEED, from 0 to 999, is what the show draws its chance from, BATTERY the level in percent.
/// Clock, battery and names are fixed, so that the same program writes the same frames.
int main(int argc, char* argv[])
{
    // No synthesiser: nothing holds a part.
    qputenv("PATH", "");
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const bool film = arguments.value(1) == "--film";
    if (arguments.size() < 3 || (film && arguments.size() != 4)) {
        std::fprintf(stderr, "usage: pixmoth-frames FOLDER SECONDS...\n"
                             "       pixmoth-frames --film SEED BATTERY\n");
        return 2;
    }

    testclock::takeOver();
    fakedevice::state().batteryLevel = 73;
    FrameTaker takeFrame;
    if (film) {
        // The milliseconds of the clock.
        testclock::advance(arguments[2].toInt());
        fakedevice::state().batteryLevel = arguments[3].toInt();
        takeFrame = intoFilm;
    } else {
        takeFrame = intoFolder(QDir(arguments[1]), arguments.mid(2));
    }
    fakecontacts::use();
    fakecontacts::setLabels({"Olga", "Timo", "Aino", "Henrik", "Vera"});

    GlWindow window;
    if (!window.isReady()) {
        std::fprintf(stderr, "pixmoth-frames: no GL context\n");
        return 1;
    }
    DemoMain demo(&window);
    demo.init();
    while (demo.paint() != 0) {
        takeFrame(demo, window);
        testclock::advance(TICK_MS);
        while (!demo.speech()->isReady()) {
            QTest::qWait(1);
        }
    }
    return 0;
}
