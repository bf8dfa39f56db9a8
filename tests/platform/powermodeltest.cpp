#include "platform/powermodel.h"

#include <QTest>

#include <cmath>

using platform::PowerModel;

namespace {

const QString DISPLAY = PowerModel::DISPLAY_DEVICE;
const QString FIRST("/org/freedesktop/UPower/devices/battery_BAT0");
const QString SECOND("/org/freedesktop/UPower/devices/battery_BAT1");

QVariantMap display(bool present, unsigned int state, double percentage)
{
    return {{"IsPresent", present}, {"State", state}, {"Percentage", percentage}};
}

QVariantMap battery(unsigned int state, double percentage, double energy, double full)
{
    return {{"Type", 2u},        {"PowerSupply", true},      {"IsPresent", true},
            {"State", state},    {"Percentage", percentage}, {"Energy", energy},
            {"EnergyFull", full}};
}

} // namespace

class PowerModelTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsKnown();
    void power_data();
    void power();
    void powerWithoutBatteries_data();
    void powerWithoutBatteries();
    void level_data();
    void level();
    void unknownLevelKeepsTheLast_data();
    void unknownLevelKeepsTheLast();
    void changesAreParts();
    void twoBatteries_data();
    void twoBatteries();
    void otherDevicesDoNotCount();
    void batteryThatGoes();
    void displayDeviceWins();
    void forgottenButForTheLevel();
    void strangeValues_data();
    void strangeValues();
};

void PowerModelTest::nothingIsKnown()
{
    PowerModel model;
    QCOMPARE(model.level(), 100);
    QCOMPARE(model.power(), PowerModel::Unknown);
}

void PowerModelTest::power_data()
{
    QTest::addColumn<int>("onBattery"); // -1: not told.
    QTest::addColumn<bool>("present");
    QTest::addColumn<unsigned int>("state");
    QTest::addColumn<int>("power");
    const char* const names[] = {"unknown",       "charging",       "discharging",      "empty",
                                 "fully charged", "pending charge", "pending discharge"};
    const int notTold[] = {0, 3, 1, 1, 2, 2, 1};
    const int onWall[] = {2, 3, 2, 2, 2, 2, 2};
    const int onBattery[] = {1, 4, 1, 1, 4, 1, 1};
    for (unsigned int state = 0; state < 7; ++state) {
        QTest::addRow("not told, %s", names[state]) << -1 << true << state << notTold[state];
        QTest::addRow("on the wall, %s", names[state]) << 0 << true << state << onWall[state];
        QTest::addRow("on battery, %s", names[state]) << 1 << true << state << onBattery[state];
    }
    for (unsigned int state : {7u, 100u, 0xffffffffu}) {
        QTest::addRow("on the wall, state %u", state) << 0 << true << state << 4;
        QTest::addRow("on battery, state %u", state) << 1 << true << state << 4;
    }
    QTest::newRow("no battery, not told") << -1 << false << 0u << 2;
    QTest::newRow("no battery, on the wall") << 0 << false << 0u << 2;
    QTest::newRow("no battery, on battery") << 1 << false << 0u << 4;
}

void PowerModelTest::power()
{
    QFETCH(int, onBattery);
    QFETCH(bool, present);
    QFETCH(unsigned int, state);
    QFETCH(int, power);
    PowerModel model;
    if (onBattery >= 0) {
        model.setManager({{"OnBattery", onBattery == 1}});
    }
    model.setDevice(DISPLAY, display(present, state, 50.0));
    QCOMPARE(static_cast<int>(model.power()), power);
}

void PowerModelTest::powerWithoutBatteries_data()
{
    QTest::addColumn<bool>("onBattery");
    QTest::addColumn<int>("power");
    QTest::newRow("on the wall") << false << 2;
    QTest::newRow("on battery") << true << 1;
}

void PowerModelTest::powerWithoutBatteries()
{
    // The manager has answered, and the batteries have not.
    QFETCH(bool, onBattery);
    QFETCH(int, power);
    PowerModel model;
    model.setManager({{"OnBattery", onBattery}});
    QCOMPARE(static_cast<int>(model.power()), power);
    QCOMPARE(model.level(), 100);
}

void PowerModelTest::level_data()
{
    QTest::addColumn<bool>("present");
    QTest::addColumn<double>("percentage");
    QTest::addColumn<int>("level");
    QTest::newRow("empty") << true << 0.0 << 0;
    QTest::newRow("half") << true << 49.5 << 50;
    QTest::newRow("a little less") << true << 49.4 << 49;
    QTest::newRow("full") << true << 100.0 << 100;
    QTest::newRow("more than full") << true << 107.0 << 100;
    QTest::newRow("less than empty") << true << -3.0 << 0;
    QTest::newRow("beyond any number") << true << 1e300 << 100;
    QTest::newRow("no battery") << false << 0.0 << 100;
}

void PowerModelTest::level()
{
    QFETCH(bool, present);
    QFETCH(double, percentage);
    QFETCH(int, level);
    PowerModel model;
    model.setDevice(DISPLAY, display(present, 2, percentage));
    QCOMPARE(model.level(), level);
}

void PowerModelTest::unknownLevelKeepsTheLast_data()
{
    QTest::addColumn<QVariant>("percentage");
    QTest::addColumn<unsigned int>("state");
    QTest::newRow("not yet looked") << QVariant(0.0) << 0u;
    QTest::newRow("no number") << QVariant(std::nan("")) << 2u;
    QTest::newRow("infinite") << QVariant(HUGE_VAL) << 2u;
    QTest::newRow("a word") << QVariant("half") << 2u;
}

void PowerModelTest::unknownLevelKeepsTheLast()
{
    QFETCH(QVariant, percentage);
    QFETCH(unsigned int, state);
    PowerModel model;
    model.setDevice(DISPLAY, display(true, 2, 37.0));
    QCOMPARE(model.level(), 37);
    model.setDevice(DISPLAY, {{"Percentage", percentage}, {"State", state}});
    QCOMPARE(model.level(), 37);
}

void PowerModelTest::changesAreParts()
{
    PowerModel model;
    model.setManager({{"OnBattery", true}});
    model.setDevice(DISPLAY, display(true, 2, 80.0));
    QCOMPARE(model.power(), PowerModel::OnBattery);
    model.setDevice(DISPLAY, {{"Percentage", 79.0}});
    QCOMPARE(model.level(), 79);
    QCOMPARE(model.power(), PowerModel::OnBattery);
    // Plugged in: the manager and the battery tell it one after the other.
    model.setManager({{"OnBattery", false}});
    QCOMPARE(model.power(), PowerModel::OnWall);
    model.setDevice(DISPLAY, {{"State", 1u}});
    QCOMPARE(model.power(), PowerModel::OnWallCharging);
    model.setManager({{"LidIsClosed", true}});
    QCOMPARE(model.power(), PowerModel::OnWallCharging);
}

void PowerModelTest::twoBatteries_data()
{
    QTest::addColumn<QVariantMap>("first");
    QTest::addColumn<QVariantMap>("second");
    QTest::addColumn<bool>("onBattery");
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    // By what they hold, not by their parts of the hundred.
    QTest::newRow("large and small")
        << battery(2, 100, 60, 60) << battery(2, 0, 0, 20) << true << 75 << 1;
    QTest::newRow("no energies") << battery(2, 50, 0, 0) << battery(2, 20, 0, 0) << true << 35 << 1;
    QTest::newRow("one charges") << battery(1, 50, 30, 60) << battery(4, 100, 20, 20) << false << 63
                                 << 3;
    QTest::newRow("one waits") << battery(5, 50, 30, 60) << battery(1, 50, 10, 20) << false << 50
                               << 3;
    QTest::newRow("one is drained first")
        << battery(2, 50, 30, 60) << battery(4, 100, 20, 20) << true << 63 << 1;
    QTest::newRow("both full") << battery(4, 100, 60, 60) << battery(4, 100, 20, 20) << false << 100
                               << 2;
    QTest::newRow("full and waiting")
        << battery(4, 100, 60, 60) << battery(5, 90, 18, 20) << false << 98 << 2;
}

void PowerModelTest::twoBatteries()
{
    QFETCH(QVariantMap, first);
    QFETCH(QVariantMap, second);
    QFETCH(bool, onBattery);
    QFETCH(int, level);
    QFETCH(int, power);
    for (bool swapped : {false, true}) {
        PowerModel model;
        model.setManager({{"OnBattery", onBattery}});
        model.setDevice(FIRST, swapped ? second : first);
        model.setDevice(SECOND, swapped ? first : second);
        QCOMPARE(model.level(), level);
        QCOMPARE(static_cast<int>(model.power()), power);
    }
}

void PowerModelTest::otherDevicesDoNotCount()
{
    PowerModel model;
    model.setManager({{"OnBattery", false}});
    QVariantMap mouse = battery(2, 12, 1, 10);
    mouse["PowerSupply"] = false;
    QVariantMap slot = battery(2, 0, 0, 10);
    slot["IsPresent"] = false;
    model.setDevice("/org/freedesktop/UPower/devices/mouse", mouse);
    model.setDevice("/org/freedesktop/UPower/devices/slot", slot);
    model.setDevice("/org/freedesktop/UPower/devices/line",
                    {{"Type", 1u}, {"PowerSupply", true}, {"Online", true}});
    QCOMPARE(model.level(), 100);
    QCOMPARE(model.power(), PowerModel::OnWall);
    model.setDevice(FIRST, battery(2, 40, 20, 50));
    QCOMPARE(model.level(), 40);
}

void PowerModelTest::batteryThatGoes()
{
    PowerModel model;
    model.setManager({{"OnBattery", false}});
    model.setDevice(FIRST, battery(1, 40, 20, 50));
    model.setDevice(SECOND, battery(1, 80, 40, 50));
    QCOMPARE(model.level(), 60);
    model.removeDevice(SECOND);
    QCOMPARE(model.level(), 40);
    model.removeDevice("/nothing/known/of/it");
    QCOMPARE(model.level(), 40);
    QCOMPARE(model.power(), PowerModel::OnWallCharging);
}

void PowerModelTest::displayDeviceWins()
{
    PowerModel model;
    model.setDevice(FIRST, battery(2, 40, 20, 50));
    model.setDevice(DISPLAY, display(true, 2, 66.0));
    QCOMPARE(model.level(), 66);
    model.setDevice(FIRST, {{"Percentage", 39.0}, {"Energy", 19.0}});
    QCOMPARE(model.level(), 66);
}

void PowerModelTest::forgottenButForTheLevel()
{
    PowerModel model;
    model.setManager({{"OnBattery", true}});
    model.setDevice(DISPLAY, display(true, 2, 23.0));
    model.forget();
    QCOMPARE(model.level(), 23);
    QCOMPARE(model.power(), PowerModel::Unknown);
    model.setDevice(DISPLAY, display(true, 1, 24.0));
    QCOMPARE(model.level(), 24);
    QCOMPARE(model.power(), PowerModel::OnWallCharging);
}

void PowerModelTest::strangeValues_data()
{
    QTest::addColumn<QVariantMap>("manager");
    QTest::addColumn<QVariantMap>("device");
    QTest::addColumn<int>("power");
    QTest::newRow("nothing") << QVariantMap() << QVariantMap() << 0;
    QTest::newRow("words for truths") << QVariantMap{{"OnBattery", "no"}} << QVariantMap() << 0;
    QTest::newRow("a word for the state")
        << QVariantMap{{"OnBattery", false}}
        << QVariantMap{{"IsPresent", true}, {"State", "charging"}, {"Percentage", 5.0}} << 2;
    QTest::newRow("a list for the state")
        << QVariantMap{{"OnBattery", true}}
        << QVariantMap{{"IsPresent", true}, {"State", QStringList{"1"}}, {"Percentage", 5.0}} << 1;
}

void PowerModelTest::strangeValues()
{
    QFETCH(QVariantMap, manager);
    QFETCH(QVariantMap, device);
    QFETCH(int, power);
    PowerModel model;
    model.setManager(manager);
    model.setDevice(DISPLAY, device);
    QCOMPARE(static_cast<int>(model.power()), power);
    QVERIFY(model.level() == 100 || model.level() == 5);
}

QTEST_GUILESS_MAIN(PowerModelTest)
#include "powermodeltest.moc"
