#pragma once

#include <QGLWidget>

#include <memory>

class DemoMain;
class QTimer;

/// The GL surface of the show and its frame clock: every 50 ms one repaint, every repaint one
/// frame of DemoMain. The event loop is left when DemoMain says that the show is over; with code 1,
/// and a line in the log, where the system has no OpenGL that the show could be drawn with.
class DemoWindow : public QGLWidget
{
    Q_OBJECT

public:
    explicit DemoWindow(QWidget* parent = nullptr);
    ~DemoWindow() override;

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;

private:
    /// Tells what is wrong with the GL context, and ends the program.
    void giveUp();

    QTimer* timer;                      ///< A child of this widget; null until the show is made.
    std::unique_ptr<DemoMain> demoMain; ///< Null until the GL context is there.
};
