#include "app/mainwindow.h"
#include "platform/deadline.h"
#include "platform/screenchoice.h"
#include "platform/silentservers.h"
#include "platform/soundsink.h"
#include "platform/suddenexit.h"

#include <QApplication>

namespace {
/// The way out takes a tenth of a second. A sound server that has frozen would make it a minute and
/// a half, with a black window, the voice still talking and the screen saver held off.
const int WAY_OUT_MS = 1500;
} // namespace

int main(int argc, char* argv[])
{
    platform::avoidSilentServers();
    platform::chooseScreen();
    platform::provideSoundSink();
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName("pixmoth");
    platform::endOnTheSpotAtSuddenExit();

    MainWindow window;
    window.show();
    window.showFullScreen();
    window.playGl();
    // Once more, for the libraries that have been loaded since.
    platform::endOnTheSpotAtSuddenExit();
    const int code = application.exec();
    platform::endWithin(WAY_OUT_MS, code);
    return code;
}
