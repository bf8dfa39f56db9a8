#include "app/mainwindow.h"

#include "app/demowindow.h"
#include "ui_mainwindow.h"

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(new Ui_MainWindow)
{
    ui->setupUi(this);
    demoWindow = new DemoWindow(this);
    setCentralWidget(demoWindow);
    screenSaver.setScreenSaverInhibit();
}

MainWindow::~MainWindow()
{
    ui.reset();
    // Not left to the base class: the show must be gone while this window still is one.
    delete demoWindow;
}

void MainWindow::playGl()
{
    demoWindow->showFullScreen();
}

void MainWindow::keyPressEvent(QKeyEvent*)
{
    close();
}
