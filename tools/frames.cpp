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

/// Writes frames of every part of the show to PNG files, without waiting for them:
///   pixmoth-frames FOLDER SECONDS…
/// gives FOLDER/NN-SECONDS.png for part NN at each of these moments. Clock, battery and names are
/// fixed, so that the same program writes the same frames.
int main(int argc, char* argv[])
{
    // No synthesiser: nothing holds a part.
    qputenv("PATH", "");
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "usage: pixmoth-frames FOLDER SECONDS...\n");
        return 2;
    }
    const QDir folder(arguments[1]);
    folder.mkpath(".");

    testclock::takeOver();
    fakedevice::state().batteryLevel = 73;
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
        const int part = demo.d->partIndex + 1;
        const int now = demo.d->partTime.elapsed();
        for (int i = 2; i < arguments.size(); ++i) {
            if (now == qRound(arguments[i].toDouble() * 1000 / TICK_MS) * TICK_MS) {
                const QString name =
                    QString("%1-%2.png").arg(part, 2, 10, QChar('0')).arg(arguments[i]);
                window.pixels().save(folder.filePath(name));
            }
        }
        testclock::advance(TICK_MS);
        while (!demo.speech()->isReady()) {
            QTest::qWait(1);
        }
    }
    return 0;
}
