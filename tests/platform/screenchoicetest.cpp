#include "platform/screenchoice.h"

#include "support/scopedvariable.h"

#include <QTest>

/// Where the show looks for a screen.
class ScreenChoiceTest : public QObject
{
    Q_OBJECT

private slots:
    void wayland_data();
    void wayland();
};

void ScreenChoiceTest::wayland_data()
{
    QTest::addColumn<QByteArray>("x");
    QTest::addColumn<QByteArray>("compositor");
    QTest::addColumn<QByteArray>("wish");
    QTest::addColumn<QByteArray>("choice");
    const QByteArray none;
    const QByteArray empty("");
    QTest::newRow("a compositor alone")
        << none << QByteArray("wayland-0") << none << QByteArray("wayland");
    QTest::newRow("by its path") << none << QByteArray("/run/w") << none << QByteArray("wayland");
    QTest::newRow("names that are empty")
        << empty << QByteArray("wayland-0") << empty << QByteArray("wayland");
    QTest::newRow("both") << QByteArray(":0") << QByteArray("wayland-0") << none << none;
    QTest::newRow("an X server alone") << QByteArray(":0") << none << none << none;
    QTest::newRow("neither") << none << none << none << none;
    QTest::newRow("a compositor without a name") << none << empty << none << none;
    QTest::newRow("the user's wish")
        << none << QByteArray("wayland-0") << QByteArray("xcb") << QByteArray("xcb");
}

void ScreenChoiceTest::wayland()
{
    QFETCH(QByteArray, x);
    QFETCH(QByteArray, compositor);
    QFETCH(QByteArray, wish);
    const ScopedVariable display("DISPLAY", x);
    const ScopedVariable waylandDisplay("WAYLAND_DISPLAY", compositor);
    const ScopedVariable asked("QT_QPA_PLATFORM", wish);
    platform::chooseScreen();
    QTEST(qgetenv("QT_QPA_PLATFORM"), "choice");
}

QTEST_APPLESS_MAIN(ScreenChoiceTest)
#include "screenchoicetest.moc"
