#include "platform/idleinhibitor.h"

#include <QTest>
#include <QWindow>

/// What is held awake where there is no Wayland; tools/try-screens tells how it is where there is.
class IdleInhibitorTest : public QObject
{
    Q_OBJECT

private slots:
    void asksNobodyWithoutWayland();
};

void IdleInhibitorTest::asksNobodyWithoutWayland()
{
    QWindow window;
    window.create();
    platform::IdleInhibitor inhibitor;
    inhibitor.hold(&window);
    inhibitor.hold(&window);
    QVERIFY(!inhibitor.requests);
}

QTEST_MAIN(IdleInhibitorTest)
#include "idleinhibitortest.moc"
