#include "app/demowindow.h"
#include "demo/demomain_p.h"

#include "support/boxcloser.h"
#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/glrecorder.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTest>
#include <QTimer>

#include <GLES2/gl2.h>

/// The GL surface and its clock.
class DemoWindowGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void contextBringsTheShow();
    void resizeSetsTheViewportOnly();
    void surfaceThatWasNotToldIsWoken();
    void everyTickIsAFrame();
    void endOfTheShowEndsTheLoop();
    void deathFreesTheShowWithItsContext();
    void boxWhileLoadingMakesNoSecondShow();
    void givingUpOutlastsEventsBeforeTheLoop();
};

namespace {

void showExposed(DemoWindow& window)
{
    window.resize(800, 480);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_VERIFY(window.demoMain);
}

} // namespace

void DemoWindowGlTest::initTestCase()
{
    fakecontacts::use();
    fakedevice::reset();
}

void DemoWindowGlTest::contextBringsTheShow()
{
    DemoWindow window;
    QVERIFY(!window.demoMain);
    glrecorder::start(glrecorder::Record);
    showExposed(window);
    QCOMPARE(glrecorder::calls().first(), QString("glClearColor(0, 0, 0, 1)"));
    QCOMPARE(window.demoMain->parent(), &window);
    QVERIFY(!window.demoMain->d->parts.isEmpty());
    QCOMPARE(window.timer->parent(), &window);
    QCOMPARE(window.timer->interval(), 50);
    QCOMPARE(window.timer->timerType(), Qt::PreciseTimer);
    QVERIFY(window.timer->isActive());
    QVERIFY(!window.timer->isSingleShot());
}

void DemoWindowGlTest::resizeSetsTheViewportOnly()
{
    DemoWindow window;
    glrecorder::start(glrecorder::Fake);
    window.resizeGL(320, 200);
    QCOMPARE(glrecorder::takeCalls(), QStringList{"glViewport(0, 0, 320, 200)"});
    glrecorder::start(glrecorder::PassThrough);
}

void DemoWindowGlTest::surfaceThatWasNotToldIsWoken()
{
    QMainWindow window;
    auto* surface = new DemoWindow(&window);
    window.setCentralWidget(surface);
    window.resize(800, 480);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_VERIFY(surface->demoMain && surface->testAttribute(Qt::WA_Mapped));

    glrecorder::start(glrecorder::Record);
    QTest::qWait(120);
    QVERIFY(!glrecorder::takeCalls().contains("glViewport(0, 0, 800, 479)"));
    surface->setAttribute(Qt::WA_Mapped, false); // As a surface within a window is under Wayland.
    QTRY_VERIFY(glrecorder::calls().contains("glViewport(0, 0, 800, 479)"));
    // The screen may tell the size in between a little later.
    QTRY_COMPARE(surface->size(), QSize(800, 480));
    const QStringList viewports = glrecorder::takeCalls().filter("glViewport");
    glrecorder::start(glrecorder::PassThrough);
    QCOMPARE(viewports.last(), QString("glViewport(0, 0, 800, 480)"));
}

void DemoWindowGlTest::everyTickIsAFrame()
{
    DemoWindow window;
    showExposed(window);
    QTRY_VERIFY(window.demoMain->d->partIndex == 0);
    int ticks = 0;
    // Counted after its frame was drawn.
    connect(window.timer, &QTimer::timeout, &window, [&ticks] { ++ticks; });
    QTRY_VERIFY(ticks > 0);
    QElapsedTimer timer;
    timer.start();
    ticks = 0;
    glrecorder::start(glrecorder::Record);
    QTRY_VERIFY_WITH_TIMEOUT(ticks >= 20, 30000);
    const qint64 elapsed = timer.elapsed();
    const int frames = glrecorder::calls().filter("glClear(").size();
    // The window may ask for a frame besides.
    QVERIFY2(frames >= ticks && frames <= ticks + 2,
             qPrintable(QString("%1 frames in %2 ticks").arg(frames).arg(ticks)));
    // 20 a second; fewer only where the machine is busy with something else.
    QVERIFY2(elapsed >= 900, qPrintable(QString::number(elapsed)));
}

void DemoWindowGlTest::endOfTheShowEndsTheLoop()
{
    DemoWindow window;
    showExposed(window);
    QTimer::singleShot(0, &window, [&window] {
        window.demoMain->d->partIndex = window.demoMain->d->parts.size();
    });
    QTimer::singleShot(20000, [] { QCoreApplication::exit(99); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(window.isVisible());
}

void DemoWindowGlTest::deathFreesTheShowWithItsContext()
{
    const QSet<unsigned int> buffers = glrecorder::livingBuffers();
    const QSet<unsigned int> textures = glrecorder::livingTextures();
    auto window = std::make_unique<DemoWindow>();
    showExposed(*window);
    QVERIFY(glrecorder::livingBuffers() != buffers);
    // Another surface has the context when the show's end comes, and objects in it that are called
    // by the same numbers: to free something in the wrong context would free one of those.
    QGLWidget other;
    other.show();
    other.makeCurrent();
    const GLuint last = 100;
    for (GLuint name = 1; name <= last; ++name) {
        glBindTexture(GL_TEXTURE_2D, name);
        glBindBuffer(GL_ARRAY_BUFFER, name);
    }
    glrecorder::start(glrecorder::Record);
    window.reset();
    const QStringList calls = glrecorder::takeCalls();
    QCOMPARE(glrecorder::livingBuffers(), buffers);
    QCOMPARE(glrecorder::livingTextures(), textures);
    glrecorder::start(glrecorder::PassThrough);
    QVERIFY(calls.filter("glDeleteBuffers").size() > 0);
    QVERIFY(calls.filter("glDeleteTextures").size() > 0);
    other.makeCurrent();
    for (GLuint name = 1; name <= last; ++name) {
        QVERIFY2(glIsTexture(name), qPrintable(QString("texture %1").arg(name)));
        QVERIFY2(glIsBuffer(name), qPrintable(QString("buffer %1").arg(name)));
    }
}

void DemoWindowGlTest::boxWhileLoadingMakesNoSecondShow()
{
    // Without its plugins Qt cannot read the pictures. Those of the screen are there by now.
    QVERIFY(QGLWidget().isValid());
    QCoreApplication::setLibraryPaths(QStringList());

    DemoWindow window;
    QVector<int> shows;
    QStringList drawn;
    bool swaps = false;
    glrecorder::start(glrecorder::Record);
    // All that makes Qt draw, for as long as a box stands.
    QTimer restless;
    QObject::connect(&restless, &QTimer::timeout, [&] {
        if (QApplication::activeModalWidget()) {
            window.resize(700 + shows.size(), 400);
            window.updateGL();
            window.glDraw();
            shows.append(window.findChildren<DemoMain*>().size());
            drawn += glrecorder::calls().filter("glDraw") + glrecorder::calls().filter("DEPTH");
            swaps = swaps || window.autoBufferSwap();
        }
    });
    restless.start(1);
    QTest::qWait(20);
    QVector<BoxCloser::Box> boxes;
    {
        // Each box stands for a while.
        QTimer slow;
        QObject::connect(&slow, &QTimer::timeout, [&] {
            BoxCloser closer;
            closer.closeBox();
            boxes += closer.boxes();
        });
        slow.start(50);
        showExposed(window);
        QTRY_VERIFY(window.timer);
    }

    QStringList texts;
    for (const BoxCloser::Box& box : boxes) {
        QCOMPARE(box.title, QString("Textures"));
        texts.append(box.text);
    }
    const QString text = "Unable to load image: ";
    QCOMPARE(texts,
             (QStringList{text + ":/textures/test1.jpg", text + ":/face/facetestinv.jpg",
                          text + ":/face/facetestinv2.jpg", text + ":/face/facetestinv3.jpg"}));
    QVERIFY(shows.size() >= 4);
    QCOMPARE(shows, QVector<int>(shows.size(), 1));
    QCOMPARE(drawn, QStringList());
    QVERIFY(!swaps);

    // One show, with empty pictures, and it plays.
    QCOMPARE(window.findChildren<DemoMain*>().size(), 1);
    QCOMPARE(window.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly).size(), 1);
    QVERIFY(!window.demoMain->d->parts.isEmpty());
    QCOMPARE(window.demoMain->d->faceTextures[0].textureId(), 0u);
    QVERIFY(window.autoBufferSwap());
    QTRY_VERIFY(window.demoMain->d->partIndex == 0);
    QTRY_VERIFY(!glrecorder::calls().filter("glDraw").isEmpty());
    glrecorder::start(glrecorder::PassThrough);
}

void DemoWindowGlTest::givingUpOutlastsEventsBeforeTheLoop()
{
    DemoWindow window;
    window.giveUp();
    // As some platforms do when a window is shown.
    QTest::qWait(20);
    QTimer::singleShot(20000, [] { QCoreApplication::exit(99); });
    QCOMPARE(QApplication::exec(), 1);
}

QTEST_MAIN(DemoWindowGlTest)
#include "demowindowgltest.moc"
