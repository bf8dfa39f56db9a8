#include "platform/glsurface.h"

#include <QGLWidget>
#include <QTest>

/// Whether a GL surface is of use to the show. What a context may lack is tested with the program.
class GlSurfaceGlTest : public QObject
{
    Q_OBJECT

private slots:
    void usableSurfaceHasNoProblem();
    void contextHasToBeCurrent();
};

void GlSurfaceGlTest::usableSurfaceHasNoProblem()
{
    QGLWidget surface;
    surface.makeCurrent();
    QCOMPARE(platform::glProblem(&surface), QString());
}

void GlSurfaceGlTest::contextHasToBeCurrent()
{
    const QString problem = "the OpenGL context cannot be made current";
    QGLWidget surface;
    surface.makeCurrent();
    surface.doneCurrent();
    QCOMPARE(platform::glProblem(&surface), problem);
    // It is no help that another one is current.
    QGLWidget other;
    other.makeCurrent();
    QCOMPARE(platform::glProblem(&surface), problem);
    QCOMPARE(platform::glProblem(&other), QString());
}

QTEST_MAIN(GlSurfaceGlTest)
#include "glsurfacegltest.moc"
