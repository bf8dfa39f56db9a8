#include "device/systemstate.h"

#include "support/fakedeviceinfo.h"
#include "support/logcapture.h"

#include <QPointer>
#include <QTest>

#include <memory>

class SystemStateTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void identityIsLogged_data();
    void identityIsLogged();
    void makerAndImeiAreKept_data();
    void makerAndImeiAreKept();
    void batteryIsAskedOnce_data();
    void batteryIsAskedOnce();
    void notificationIsLoggedAndKept_data();
    void notificationIsLoggedAndKept();
    void laterNotificationCounts();
    void powerStateInWords_data();
    void powerStateInWords();
    void powerIsAskedOnEveryCall();
    void deviceObjectDiesWithIt();
    void eachListensToItsOwnDevice();
    void diesWithItsParent();
};

void SystemStateTest::init()
{
    fakedevice::reset();
}

void SystemStateTest::identityIsLogged_data()
{
    QTest::addColumn<QStringList>("identity");
    QTest::newRow("all told") << QStringList{"Maker", "Model", "Product", "356", "244"};
    QTest::newRow("nothing told") << QStringList{"", "", "", "", ""};
    QTest::newRow("some told") << QStringList{"Maker", "", "Product", "", ""};
    // None of them is a format, whatever it looks like.
    QTest::newRow("percent signs") << QStringList{"100% phone", "%s%s%s", "%n", "%i", "%%"};
    QTest::newRow("not Latin") << QStringList{QString::fromUtf8("Нокиа"), "N900",
                                              QString::fromUtf8("型"), "1", "2"};
}

void SystemStateTest::identityIsLogged()
{
    QFETCH(QStringList, identity);
    fakedevice::state().manufacturer = identity.at(0);
    fakedevice::state().model = identity.at(1);
    fakedevice::state().productName = identity.at(2);
    fakedevice::state().imei = identity.at(3);
    fakedevice::state().imsi = identity.at(4);
    LogCapture log;
    SystemState systemState;
    QCOMPARE(log.lines(QtDebugMsg), identity);
    QCOMPARE(log.lines(), identity);
    QCOMPARE(log.platformLines(), QStringList());
}

void SystemStateTest::makerAndImeiAreKept_data()
{
    QTest::addColumn<QString>("maker");
    QTest::addColumn<QString>("imei");
    QTest::newRow("told") << "Maker"
                          << "356938035643809";
    QTest::newRow("not told") << ""
                              << "";
    QTest::newRow("percent signs") << "%1 %s"
                                   << "%2";
}

void SystemStateTest::makerAndImeiAreKept()
{
    QFETCH(QString, maker);
    QFETCH(QString, imei);
    fakedevice::state().manufacturer = maker;
    fakedevice::state().imei = imei;
    LogCapture log;
    SystemState systemState;
    // Kept, not asked for again.
    fakedevice::state().manufacturer = "Another";
    fakedevice::state().imei = "other";
    QCOMPARE(systemState.systemString(), maker);
    QCOMPARE(systemState.code(), imei);
}

void SystemStateTest::batteryIsAskedOnce_data()
{
    QTest::addColumn<int>("level");
    QTest::newRow("unknown") << -1;
    QTest::newRow("empty") << 0;
    QTest::newRow("some") << 29;
    QTest::newRow("full") << 100;
    QTest::newRow("overfull") << 1000;
}

void SystemStateTest::batteryIsAskedOnce()
{
    QFETCH(int, level);
    fakedevice::state().batteryLevel = level;
    LogCapture log;
    SystemState systemState;
    QCOMPARE(fakedevice::state().batteryAsked, 1);
    QCOMPARE(fakedevice::state().powerAsked, 0);
    fakedevice::state().batteryLevel = 55;
    QCOMPARE(systemState.batteryLevel(), level);
    QCOMPARE(systemState.batteryLevel(), level);
    QCOMPARE(fakedevice::state().batteryAsked, 1);
}

void SystemStateTest::notificationIsLoggedAndKept_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("line");
    QTest::newRow("15") << 15 << "Battery level: 15";
    QTest::newRow("0") << 0 << "Battery level: 0";
    QTest::newRow("100") << 100 << "Battery level: 100";
    QTest::newRow("unknown") << -1 << "Battery level: -1";
}

void SystemStateTest::notificationIsLoggedAndKept()
{
    QFETCH(int, level);
    QFETCH(QString, line);
    fakedevice::state().batteryLevel = 80;
    LogCapture log;
    SystemState systemState;
    log.clear();
    fakedevice::notifyBattery(level);
    QCOMPARE(log.lines(QtDebugMsg), QStringList{line});
    QCOMPARE(log.lines(), QStringList{line});
    QCOMPARE(systemState.batteryLevel(), level);
    QCOMPARE(fakedevice::state().batteryAsked, 1);
}

void SystemStateTest::laterNotificationCounts()
{
    LogCapture log;
    SystemState systemState;
    log.clear();
    for (int level : {70, 69, 70}) {
        fakedevice::notifyBattery(level);
        QCOMPARE(systemState.batteryLevel(), level);
    }
    QCOMPARE(log.lines(),
             QStringList({"Battery level: 70", "Battery level: 69", "Battery level: 70"}));
}

void SystemStateTest::powerStateInWords_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("word");
    QTest::newRow("unknown") << 0 << "NULL power";
    QTest::newRow("battery") << 1 << "battery";
    QTest::newRow("wall") << 2 << "wall power";
    QTest::newRow("wall, charging") << 3 << "wall power";
    QTest::newRow("one past the last") << 4 << "weird power";
    QTest::newRow("7") << 7 << "weird power";
    QTest::newRow("negative") << -1 << "weird power";
}

void SystemStateTest::powerStateInWords()
{
    QFETCH(int, value);
    QFETCH(QString, word);
    LogCapture log;
    SystemState systemState;
    fakedevice::state().powerState = value;
    log.clear();
    QCOMPARE(systemState.powerState(), word);
    QCOMPARE(log.lines(), QStringList());
}

void SystemStateTest::powerIsAskedOnEveryCall()
{
    LogCapture log;
    SystemState systemState;
    QCOMPARE(fakedevice::state().powerAsked, 0);
    fakedevice::state().powerState = 1;
    QCOMPARE(systemState.powerState(), QString("battery"));
    QCOMPARE(fakedevice::state().powerAsked, 1);
    // The plug goes in without any notice.
    fakedevice::state().powerState = 3;
    QCOMPARE(systemState.powerState(), QString("wall power"));
    QCOMPARE(fakedevice::state().powerAsked, 2);
}

void SystemStateTest::deviceObjectDiesWithIt()
{
    const int alive = fakedevice::state().alive;
    LogCapture log;
    auto systemState = std::make_unique<SystemState>();
    QCOMPARE(fakedevice::state().alive, alive + 1);
    // No child: it has to go before what its notifications write to.
    QVERIFY(systemState->children().isEmpty());
    systemState.reset();
    QCOMPARE(fakedevice::state().alive, alive);
}

void SystemStateTest::eachListensToItsOwnDevice()
{
    LogCapture log;
    fakedevice::state().batteryLevel = 40;
    SystemState one;
    SystemState two;
    log.clear();
    fakedevice::notifyBattery(10);
    QCOMPARE(one.batteryLevel(), 40);
    QCOMPARE(two.batteryLevel(), 10);
    QCOMPARE(log.lines(), QStringList{"Battery level: 10"});
}

void SystemStateTest::diesWithItsParent()
{
    const int alive = fakedevice::state().alive;
    LogCapture log;
    auto parent = std::make_unique<QObject>();
    QPointer<SystemState> systemState(new SystemState(parent.get()));
    QCOMPARE(systemState->metaObject()->className(), "SystemState");
    QVERIFY(systemState->metaObject()->indexOfSlot("batteryLevelChanged(int)") >= 0);
    parent.reset();
    QVERIFY(systemState.isNull());
    QCOMPARE(fakedevice::state().alive, alive);
}

QTEST_GUILESS_MAIN(SystemStateTest)
#include "systemstatetest.moc"
