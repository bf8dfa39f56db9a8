#include "app/demowindow.h"
#include "app/mainwindow.h"
#include "demo/demomain_p.h"
#include "ui_mainwindow.h"

#include "support/fakecontacts.h"
#include "support/logcapture.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <QTimer>

/// The window of the show and its keys.
class MainWindowGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void formIsAsDesigned();
    void objectNameIsKept();
    void surfaceReplacesTheCentralWidget();
    void dyingBeforeTheContextIsSafe();
    void playGlShowsTheSurfaceFullScreen();
    void anyKeyCloses_data();
    void anyKeyCloses();
    void keyEndsTheEventLoop();
    void screenSaverIsAskedFor();
    void noPointerIsSeen();
};

void MainWindowGlTest::initTestCase()
{
    fakecontacts::use();
}

void MainWindowGlTest::formIsAsDesigned()
{
    MainWindow window;
    QCOMPARE(window.windowTitle(), QString("MainWindow"));
    QCOMPARE(window.objectName(), QString("MainWindow"));
    QCOMPARE(window.size(), QSize(800, 480));
    QVERIFY(!window.parent());
    QCOMPARE(window.metaObject()->className(), "MainWindow");
    QCOMPARE(window.demoWindow->metaObject()->className(), "DemoWindow");
}

void MainWindowGlTest::objectNameIsKept()
{
    QMainWindow window;
    window.setObjectName("mine");
    Ui_MainWindow form;
    form.setupUi(&window);
    QCOMPARE(window.objectName(), QString("mine"));
    QCOMPARE(form.centralWidget->objectName(), QString("centralWidget"));
    QCOMPARE(window.centralWidget(), form.centralWidget);
}

void MainWindowGlTest::surfaceReplacesTheCentralWidget()
{
    MainWindow window;
    QCOMPARE(window.centralWidget(), static_cast<QWidget*>(window.demoWindow.get()));
    // The window lets go of the plain one by way of the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!window.findChild<QWidget*>("centralWidget"));
}

void MainWindowGlTest::dyingBeforeTheContextIsSafe()
{
    auto window = std::make_unique<MainWindow>();
    QVERIFY(!window->demoWindow->demoMain);
    window.reset();
    DemoWindow alone;
    QVERIFY(!alone.demoMain);
    QVERIFY(!alone.timer);
}

void MainWindowGlTest::playGlShowsTheSurfaceFullScreen()
{
    MainWindow window;
    window.show();
    window.playGl();
    QVERIFY(window.demoWindow->windowState().testFlag(Qt::WindowFullScreen));
    QVERIFY(window.demoWindow->isVisible());
}

void MainWindowGlTest::anyKeyCloses_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("escape") << static_cast<int>(Qt::Key_Escape);
    QTest::newRow("space") << static_cast<int>(Qt::Key_Space);
    QTest::newRow("letter") << static_cast<int>(Qt::Key_Q);
    QTest::newRow("return") << static_cast<int>(Qt::Key_Return);
    QTest::newRow("function key") << static_cast<int>(Qt::Key_F5);
    QTest::newRow("arrow") << static_cast<int>(Qt::Key_Left);
    QTest::newRow("modifier alone") << static_cast<int>(Qt::Key_Shift);
    QTest::newRow("volume key of a phone") << static_cast<int>(Qt::Key_VolumeUp);
    QTest::newRow("unknown") << static_cast<int>(Qt::Key_unknown);
}

void MainWindowGlTest::anyKeyCloses()
{
    QFETCH(int, key);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.isVisible());
    // The surface has the keys first and must let them through.
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(window.demoWindow.get(), &press);
    QVERIFY(!window.isVisible());
}

void MainWindowGlTest::keyEndsTheEventLoop()
{
    MainWindow window;
    window.show();
    window.showFullScreen();
    window.playGl();
    QTimer::singleShot(300, &window, [&window] { QTest::keyPress(&window, Qt::Key_A); });
    QTimer::singleShot(20000, [] { QCoreApplication::exit(99); });
    QCOMPARE(QApplication::exec(), 0);
}

void MainWindowGlTest::screenSaverIsAskedFor()
{
    // The lack of a session bus is told when the screen saver asks for it.
    LogCapture log;
    MainWindow window;
    QVERIFY(!window.screenSaver.parent());
    QVERIFY(!window.screenSaver.screenSaverInhibited());
    QCOMPARE(log.platformLines().filter("the screen may blank during the show").size(), 1);
}

void MainWindowGlTest::noPointerIsSeen()
{
    MainWindow window;
    for (const QWidget* one : {static_cast<QWidget*>(&window), window.centralWidget()}) {
        QVERIFY(one->testAttribute(Qt::WA_SetCursor));
        QCOMPARE(one->cursor().shape(), Qt::BitmapCursor);
    }
}

QTEST_MAIN(MainWindowGlTest)
#include "mainwindowgltest.moc"
