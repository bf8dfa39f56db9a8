#include "platform/powermodel.h"

#include <QTest>
#include <QVariantMap>
#include <QVector>

#include <cmath>

using platform::PowerModel;

namespace {

QVariantMap battery(bool present, unsigned int state, double percentage)
{
    return {{"IsPresent", present}, {"State", state}, {"Percentage", percentage}};
}

/// What UPower does, and what is known after it.
struct Step
{
    enum Kind { Told, Gone };

    Kind kind;
    QVariantMap told;
    int level;
    PowerModel::Power power;
};

} // namespace

Q_DECLARE_METATYPE(QVector<Step>)

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
    void whatIsToldInWhichOrder_data();
    void whatIsToldInWhichOrder();
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
        model.update({{"OnBattery", onBattery == 1}});
    }
    model.update(battery(present, state, 50.0));
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
    model.update({{"OnBattery", onBattery}});
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
    model.update(battery(present, 2, percentage));
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
    model.update(battery(true, 2, 37.0));
    QCOMPARE(model.level(), 37);
    model.update({{"Percentage", percentage}, {"State", state}});
    QCOMPARE(model.level(), 37);
}

void PowerModelTest::whatIsToldInWhichOrder_data()
{
    QTest::addColumn<QVector<Step>>("steps");
    const auto manager = [](bool onBattery, int level, PowerModel::Power power) {
        return Step{Step::Told, {{"OnBattery", onBattery}}, level, power};
    };
    const auto part = [](const char* property, const QVariant& value, int level,
                         PowerModel::Power power) {
        return Step{Step::Told, {{property, value}}, level, power};
    };
    const auto all = [](bool present, unsigned int state, double percentage, int level,
                        PowerModel::Power power) {
        return Step{Step::Told, battery(present, state, percentage), level, power};
    };
    const auto nothing = [](Step::Kind kind, int level, PowerModel::Power power) {
        return Step{kind, {}, level, power};
    };
    using Steps = QVector<Step>;
    const auto unknown = PowerModel::Unknown;
    const auto onBattery = PowerModel::OnBattery;
    const auto onWall = PowerModel::OnWall;
    const auto charging = PowerModel::OnWallCharging;

    QTest::newRow("the manager, then the battery")
        << Steps{manager(true, 100, onBattery), all(true, 2, 43, 43, onBattery)};
    QTest::newRow("the battery, then the manager")
        << Steps{all(true, 2, 43, 43, onBattery), manager(true, 43, onBattery)};
    QTest::newRow("no battery") << Steps{manager(false, 100, onWall),
                                         all(false, 0, 0, 100, onWall)};
    QTest::newRow("the battery never answers")
        << Steps{manager(true, 100, onBattery), manager(false, 100, onWall)};
    QTest::newRow("the manager never answers")
        << Steps{all(true, 2, 43, 43, onBattery), part("State", 1u, 43, charging)};
    QTest::newRow("empty answers")
        << Steps{nothing(Step::Told, 100, unknown), all(true, 2, 43, 43, onBattery)};

    QTest::newRow("plugged in, and told one after the other")
        << Steps{manager(true, 100, onBattery),
                 all(true, 2, 80, 80, onBattery),
                 part("Percentage", 79.0, 79, onBattery),
                 manager(false, 79, onWall),
                 part("State", 1u, 79, charging),
                 Step{Step::Told, {{"LidIsClosed", true}}, 79, charging},
                 part("Percentage", 80.0, 80, charging),
                 part("State", 4u, 80, onWall)};
    QTest::newRow("taken out and put back")
        << Steps{manager(false, 100, onWall), all(true, 1, 40, 40, charging),
                 part("IsPresent", false, 100, onWall), part("IsPresent", true, 40, charging)};

    // Before it is told whether there is a battery at all, what one does says nothing.
    QTest::newRow("a lone percentage first")
        << Steps{part("Percentage", 7.0, 100, unknown), part("State", 2u, 100, unknown),
                 part("IsPresent", true, 7, onBattery)};
    QTest::newRow("a battery without a percentage")
        << Steps{manager(true, 100, onBattery),
                 Step{Step::Told, {{"IsPresent", true}, {"State", 2u}}, 100, onBattery},
                 part("Percentage", 31.0, 31, onBattery)};
    QTest::newRow("a battery without a state")
        << Steps{manager(true, 100, onBattery),
                 Step{Step::Told, {{"IsPresent", true}, {"Percentage", 31.0}}, 31, onBattery}};
    QTest::newRow("a battery not looked at yet")
        << Steps{manager(true, 100, onBattery), all(true, 0, 0, 100, onBattery),
                 part("Percentage", 31.0, 31, onBattery)};

    const Steps before = {manager(true, 100, onBattery), all(true, 2, 43, 43, onBattery)};
    const Steps gone = before + Steps{nothing(Step::Gone, 43, unknown)};
    QTest::newRow("gone") << gone;
    QTest::newRow("gone and back")
        << gone + Steps{manager(false, 43, onWall), all(true, 1, 44, 44, charging)};
    QTest::newRow("gone, and back the other way round")
        << gone + Steps{all(true, 1, 44, 44, charging), manager(false, 44, charging)};
    QTest::newRow("gone, and a lone change of the battery")
        << gone + Steps{part("Percentage", 42.0, 43, unknown), part("State", 1u, 43, unknown),
                        manager(false, 43, onWall), all(true, 1, 42, 42, charging)};
    QTest::newRow("gone, and a lone change once the manager is back")
        << gone + Steps{manager(true, 43, onBattery), part("Percentage", 42.0, 43, onBattery),
                        part("State", 1u, 43, onBattery), all(true, 2, 42, 42, onBattery)};
    QTest::newRow("gone twice") << gone + Steps{nothing(Step::Gone, 43, unknown),
                                                manager(true, 43, onBattery)};
    QTest::newRow("back without the battery")
        << gone + Steps{manager(false, 43, onWall), all(false, 0, 0, 100, onWall)};
}

void PowerModelTest::whatIsToldInWhichOrder()
{
    QFETCH(QVector<Step>, steps);
    PowerModel model;
    for (int i = 0; i < steps.size(); ++i) {
        const Step& step = steps.at(i);
        if (step.kind == Step::Told) {
            model.update(step.told);
        } else {
            model.forget();
        }
        const QString after =
            QString("step %1: %2 %3").arg(i).arg(model.level()).arg(model.power());
        QVERIFY2(model.level() == step.level, qPrintable(after));
        QVERIFY2(model.power() == step.power, qPrintable(after));
    }
}

void PowerModelTest::strangeValues_data()
{
    QTest::addColumn<QVariantMap>("told");
    QTest::addColumn<int>("power");
    QTest::addColumn<int>("level");
    const auto row = [](const char* title, const QVariantMap& told, PowerModel::Power power,
                        int level) { QTest::newRow(title) << told << int(power) << level; };
    row("nothing", {}, PowerModel::Unknown, 100);
    row("words for truths", {{"OnBattery", "no"}}, PowerModel::Unknown, 100);
    row("a word for the state",
        {{"OnBattery", false}, {"IsPresent", true}, {"State", "charging"}, {"Percentage", 5.0}},
        PowerModel::OnWall, 5);
    row("a list for the state",
        {{"OnBattery", true},
         {"IsPresent", true},
         {"State", QStringList{"1"}},
         {"Percentage", 5.0}},
        PowerModel::OnBattery, 5);
    row("a word for the presence",
        {{"OnBattery", true}, {"IsPresent", "no"}, {"State", 1u}, {"Percentage", 5.0}},
        PowerModel::OnBattery, 100);
}

void PowerModelTest::strangeValues()
{
    QFETCH(QVariantMap, told);
    QFETCH(int, power);
    QFETCH(int, level);
    PowerModel model;
    model.update(told);
    QCOMPARE(static_cast<int>(model.power()), power);
    QCOMPARE(model.level(), level);
}

QTEST_GUILESS_MAIN(PowerModelTest)
#include "powermodeltest.moc"
