#pragma once

#include <QGLWidget>
#include <QImage>

/// A window of 800 × 480 with a current GL context, for tests that need one.
class GlWindow : public QGLWidget
{
public:
    /// Shows the window and makes its context current. Where there is no GL, isReady() says so.
    GlWindow();

    bool isReady() const;

    /// What is in the framebuffer now, its first row at the top.
    QImage pixels();
};
