#include "platform/idleinhibitor.h"

#include <QTest>
#include <QWindow>

/// What is held awake where there is neither Wayland nor X; tools/try-screens tells how it is where
/// there is.
class IdleInhibitorTest : public QObject
{
    Q_OBJECT

private slots:
    void asksNobodyElsewhere();
};

void IdleInhibitorTest::asksNobodyElsewhere()
{
    QWindow window;
    window.create();
    platform::IdleInhibitor inhibitor;
    inhibitor.hold(&window);
    inhibitor.hold(&window);
    QVERIFY(!inhibitor.requests);
    QVERIFY(!inhibitor.pause);
}

QTEST_MAIN(IdleInhibitorTest)
#include "idleinhibitortest.moc"
