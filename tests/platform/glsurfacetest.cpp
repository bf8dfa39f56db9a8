#include "platform/glsurface.h"

#include <QResizeEvent>
#include <QSize>
#include <QTest>
#include <QVector>
#include <QWidget>

/// What a GL surface needs of the platform beyond GL.
class GlSurfaceTest : public QObject
{
    Q_OBJECT

private slots:
    void surfaceIsWoken_data();
    void surfaceIsWoken();
};

namespace {

class Surface : public QWidget
{
public:
    using QWidget::QWidget;

    QVector<QSize> sizes;

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        sizes.append(event->size());
    }
};

} // namespace

void GlSurfaceTest::surfaceIsWoken_data()
{
    QTest::addColumn<bool>("windowSeen");
    QTest::addColumn<bool>("surfaceSeen");
    QTest::addColumn<QVector<QSize>>("sizes");
    QTest::newRow("all is seen") << true << true << QVector<QSize>{};
    QTest::newRow("surface was not told")
        << true << false << QVector<QSize>{QSize(800, 479), QSize(800, 480)};
    QTest::newRow("nothing is seen yet") << false << false << QVector<QSize>{};
}

void GlSurfaceTest::surfaceIsWoken()
{
    QFETCH(bool, windowSeen);
    QFETCH(bool, surfaceSeen);
    QWidget window;
    auto* surface = new Surface(&window);
    surface->resize(800, 480);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    surface->sizes.clear();
    window.setAttribute(Qt::WA_Mapped, windowSeen);
    surface->setAttribute(Qt::WA_Mapped, surfaceSeen);
    platform::wakeSurface(surface);
    QTEST(surface->sizes, "sizes");
    QCOMPARE(surface->size(), QSize(800, 480));
}

QTEST_MAIN(GlSurfaceTest)
#include "glsurfacetest.moc"
