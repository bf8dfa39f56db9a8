#include "platform/blankingpause.h"
#include "platform/idleinhibitor.h"

#include <QGuiApplication>
#include <QTest>
#include <QWindow>

#include <qpa/qplatformnativeinterface.h>

/// What is held awake where there is an X server; blankingpausetest tells how.
class IdleInhibitorGlTest : public QObject
{
    Q_OBJECT

private slots:
    void asksTheServerOverTheToolkitsConnection();
};

void IdleInhibitorGlTest::asksTheServerOverTheToolkitsConnection()
{
    QWindow window;
    window.create();
    platform::IdleInhibitor inhibitor;
    inhibitor.hold(&window);
    const platform::BlankingPause* first = inhibitor.pause.get();
    QVERIFY(first);
    QCOMPARE(
        static_cast<void*>(first->server),
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("connection"));
    QVERIFY(!inhibitor.requests);
    inhibitor.hold(&window);
    QCOMPARE(inhibitor.pause.get(), first);
}

QTEST_MAIN(IdleInhibitorGlTest)
#include "idleinhibitorgltest.moc"
