#include "app/mainwindow.h"

#include "app/demowindow.h"
#include "ui_mainwindow.h"

#include <QScreen>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(new Ui_MainWindow)
{
    ui->setupUi(this);
    demoWindow = std::make_unique<DemoWindow>(this);
    setCentralWidget(demoWindow.get());
    screenSaver.setScreenSaverInhibit();
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
}

void MainWindow::keyPressEvent(QKeyEvent*)
{
    close();
}
