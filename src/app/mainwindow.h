#pragma once

#include "platform/idleinhibitor.h"
#include "platform/qsystemscreensaver.h"

#include <QMainWindow>

#include <memory>

class DemoWindow;
class Ui_MainWindow;

/// The one window of the show: 800 × 480, the GL surface as its central widget, no pointer on it,
/// and the screen saver held off for as long as it lives. Any key closes it, which ends the
/// program.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    /// Safe also when the GL surface never came to life.
    ~MainWindow() override;

    /// Shows the GL surface full screen: it and the window around it fill the screen, also where no
    /// window manager sees to that.
    void playGl();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::unique_ptr<Ui_MainWindow> ui;
    std::unique_ptr<DemoWindow> demoWindow; ///< Dies in the destructor, before the base class.
    QtMobility::QSystemScreenSaver screenSaver;
    platform::IdleInhibitor idleInhibitor;
};
