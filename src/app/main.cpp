#include "app/mainwindow.h"
#include "platform/silentservers.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    platform::avoidSilentServers();
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName("pixmoth");

    MainWindow window;
    window.show();
    window.showFullScreen();
    window.playGl();
    return application.exec();
}
