#include "app/mainwindow.h"

#include "app/demowindow.h"
#include "platform/hiddenpointer.h"
#include "ui_mainwindow.h"

#include <QScreen>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(new Ui_MainWindow)
{
    ui->setupUi(this);
    demoWindow = std::make_unique<DemoWindow>(this);
    setCentralWidget(demoWindow.get());
    screenSaver.setScreenSaverInhibit();
    // A phone has no pointer; on a desktop it would lie in the picture all along.
    platform::hidePointer(this);
    platform::hidePointer(demoWindow.get());
}

MainWindow::~MainWindow()
{
    ui.reset();
    // Not left to the base class: the show must be gone while this window still is one.
    demoWindow.reset();
}

void MainWindow::playGl()
{
    demoWindow->showFullScreen();
    // Without a window manager nobody makes the window full screen.
    setGeometry(screen()->geometry());
    idleInhibitor.hold(windowHandle());
}

void MainWindow::keyPressEvent(QKeyEvent*)
{
    close();
}
