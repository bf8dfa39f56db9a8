#include "support/fakeservice.h"
#include "support/privatebus.h"
#include "support/probe.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <memory>

namespace {

const char UPOWER[] = "org.freedesktop.UPower";
const char MANAGER[] = "/org/freedesktop/UPower";
const char DISPLAY_DEVICE[] = "/org/freedesktop/UPower/devices/DisplayDevice";
const char DEVICE[] = "org.freedesktop.UPower.Device";
const char PROPERTIES[] = "org.freedesktop.DBus.Properties";

/// UPower may take 200 ms of the start; the rest is for sanitizers.
const int LIMIT_MS = 600;

QVariant boxed(const QVariant& value)
{
    return QVariant::fromValue(QDBusVariant(value));
}

} // namespace

/// UPower as python3-dbusmock plays it.
class MockUPower
{
public:
    explicit MockUPower(PrivateBus& onBus) : bus(onBus) {}

    ~MockUPower()
    {
        stop();
    }

    bool start()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
        process.setProcessEnvironment(environment);
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start("/usr/bin/python3", {"-m", "dbusmock", "--template", "upower"});
        return process.waitForStarted() && bus.waitForName(UPOWER);
    }

    void stop()
    {
        process.kill();
        process.waitForFinished();
    }

    void freeze()
    {
        ::kill(static_cast<pid_t>(process.processId()), SIGSTOP);
    }

    void thaw()
    {
        ::kill(static_cast<pid_t>(process.processId()), SIGCONT);
    }

    /// True when the mock has taken it.
    bool setOnBattery(bool onBattery)
    {
        return set(MANAGER, UPOWER, "OnBattery", onBattery);
    }

    bool setDisplay(const QString& property, const QVariant& value)
    {
        return set(DISPLAY_DEVICE, DEVICE, property, value);
    }

    bool setUpDisplay(unsigned int state, double percentage)
    {
        return setDisplay("Type", 2u) && setDisplay("State", state) &&
               setDisplay("Percentage", percentage) && setDisplay("IsPresent", true);
    }

    bool set(const QString& path, const QString& interface, const QString& property,
             const QVariant& value)
    {
        return succeeds(
            bus.call(UPOWER, path, PROPERTIES, "Set", {interface, property, boxed(value)}));
    }

    bool mock(const QString& path, const QString& method, const QVariantList& arguments)
    {
        return succeeds(bus.call(UPOWER, path, "org.freedesktop.DBus.Mock", method, arguments));
    }

private:
    static bool succeeds(const QDBusMessage& answer)
    {
        if (answer.type() != QDBusMessage::ReplyMessage) {
            qWarning("%s", qPrintable(answer.errorMessage()));
        }
        return answer.type() == QDBusMessage::ReplyMessage;
    }

    PrivateBus& bus;
    QProcess process;
};

/// Battery and power as SystemState has them, in a process of its own.
class PowerTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void noBus();
    void noService();
    void frozenBus();
    void desktopHasNoBattery();
    void levelAndPlugAreFollowed();
    void whatIsNoLongerValidIsAskedFor_data();
    void whatIsNoLongerValidIsAskedFor();
    void contradictionIsWeird();
    void serviceRestarts();
    void serviceComesLate();
    void serviceGoesDuringStart();
    void serviceWithoutTheBatteryOfAll();
    void restartAndALoneChange();
    void interfacesAreNamed();
    void noEventLoopIsRun();
    void frozenService();
    void slowServiceIsHeardLater();
    void refusalsAreNoHarm();
    void strangeSendersAreNotHeard();
    void busThatFreezesLater();
    void busThatDies();

private:
    /// Starts a probe whose first answer is this one, and comes in time.
    bool start(const QString& expected);
    /// The same, with a battery that runs down from 43 %.
    bool startOnBattery();
    /// Asks the probe until it tells this; false if it never does.
    bool becomes(int level, const QString& power);
    void ask();
    void takeAnswer();

    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<MockUPower> upower;
    std::unique_ptr<Probe> probe;
    int startMs = -1;
    QString told; ///< The newest answer, "level power".
};

void PowerTest::init()
{
    if (!QFileInfo::exists("/usr/lib/python3/dist-packages/dbusmock")) {
        QSKIP("Package python3-dbusmock is not installed");
    }
    bus = std::make_unique<PrivateBus>();
    QVERIFY(bus->start());
    upower = std::make_unique<MockUPower>(*bus);
    probe = std::make_unique<Probe>();
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus->address());
}

void PowerTest::cleanup()
{
    probe.reset();
    upower.reset();
    bus.reset();
}

bool PowerTest::start(const QString& expected)
{
    for (int i = 0; i < Probe::ATTEMPTS; ++i) {
        probe = probe->again();
        if (!probe->start("power")) {
            return false;
        }
        startMs = probe->answer("ms").toInt();
        takeAnswer();
        printf("           %s: %s in %i ms\n", QTest::currentTestFunction(), qPrintable(told),
               startMs);
        if (told == expected && startMs < LIMIT_MS) {
            return true;
        }
    }
    return false;
}

bool PowerTest::startOnBattery()
{
    return upower->start() && upower->setUpDisplay(2, 43.0) && upower->setOnBattery(true) &&
           start("43 battery");
}

void PowerTest::ask()
{
    probe->say("ask");
    takeAnswer();
}

void PowerTest::takeAnswer()
{
    // One after the other: the operands of a sum have no order.
    const QString level = probe->answer("level");
    const QString power = probe->answer("power");
    told = probe->answer("end").isNull() ? QString() : level + ' ' + power;
}

bool PowerTest::becomes(int level, const QString& power)
{
    const QString wanted = QString::number(level) + ' ' + power;
    for (int i = 0; i < 200 && told != wanted; ++i) {
        if (i > 0) {
            QTest::qWait(10);
        }
        ask();
    }
    return told == wanted;
}

void PowerTest::noBus()
{
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(start("100 NULL power"));
    QCOMPARE(probe->platformLog().size(), 1);
    QVERIFY(probe->platformLog().first().contains("No system bus"));
}

void PowerTest::noService()
{
    QVERIFY(start("100 NULL power"));
    QStringList log = probe->platformLog();
    QCOMPARE(log.filter("UPower").size(), 1);
    QVERIFY2(log.filter("UPower").first().contains("UPower does not tell all"),
             qPrintable(log.first()));
}

void PowerTest::frozenBus()
{
    bus->freeze();
    const bool started = start("100 NULL power");
    bus->thaw();
    QVERIFY(started);
}

void PowerTest::desktopHasNoBattery()
{
    QVERIFY(upower->start());
    QVERIFY(start("100 wall power"));
}

void PowerTest::levelAndPlugAreFollowed()
{
    QVERIFY(upower->start());
    QVERIFY(upower->setUpDisplay(2, 43.4));
    QVERIFY(upower->setOnBattery(true));
    QVERIFY(start("43 battery"));

    for (double level : {42.0, 30.0, 29.0, 5.0}) {
        QVERIFY(upower->setDisplay("Percentage", level));
        QVERIFY2(becomes(static_cast<int>(level), "battery"), qPrintable(told));
    }
    QVERIFY(upower->setOnBattery(false));
    QVERIFY(upower->setDisplay("State", 1u));
    QVERIFY2(becomes(5, "wall power"), qPrintable(told));
    QVERIFY(upower->setDisplay("Percentage", 100.0));
    QVERIFY(upower->setDisplay("State", 4u));
    QVERIFY2(becomes(100, "wall power"), qPrintable(told));
    // Held below full by a limit on charging.
    QVERIFY(upower->setDisplay("Percentage", 80.0));
    QVERIFY(upower->setDisplay("State", 5u));
    QVERIFY2(becomes(80, "wall power"), qPrintable(told));
    QVERIFY(upower->setOnBattery(true));
    QVERIFY(upower->setDisplay("State", 2u));
    QVERIFY2(becomes(80, "battery"), qPrintable(told));
    // Taken out.
    QVERIFY(upower->setDisplay("IsPresent", false));
    QVERIFY(upower->setOnBattery(false));
    QVERIFY2(becomes(100, "wall power"), qPrintable(told));
}

void PowerTest::whatIsNoLongerValidIsAskedFor_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("passing"); // Told by the signal, and by no answer.
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("power");
    QTest::newRow("battery") << DISPLAY_DEVICE << DEVICE << "Percentage" << QVariant(7.0) << 7
                             << "battery";
    QTest::newRow("manager") << MANAGER << UPOWER << "OnBattery" << QVariant(false) << 43
                             << "wall power";
}

void PowerTest::whatIsNoLongerValidIsAskedFor()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, property);
    QFETCH(QVariant, passing);
    QFETCH(int, level);
    QFETCH(QString, power);
    QVERIFY(startOnBattery());
    const auto tell = [&](const QVariantMap& changed, const QStringList& invalidated) {
        return upower->mock(path, "EmitSignal",
                            {PROPERTIES, "PropertiesChanged", "sa{sv}as",
                             QVariantList{interface, changed, invalidated}});
    };
    QVERIFY(tell({{property, passing}}, {}));
    QVERIFY2(becomes(level, power), qPrintable(told));
    QVERIFY(tell({}, {property}));
    QVERIFY2(becomes(43, "battery"), qPrintable(told));
}

void PowerTest::contradictionIsWeird()
{
    QVERIFY(upower->start());
    QVERIFY(upower->setUpDisplay(1, 50.0));
    QVERIFY(upower->setOnBattery(true));
    QVERIFY(start("50 weird power"));
    QVERIFY(upower->setDisplay("State", 99u));
    QVERIFY(upower->setOnBattery(false));
    QVERIFY(upower->setDisplay("Percentage", 49.0));
    QVERIFY2(becomes(49, "weird power"), qPrintable(told));
    QVERIFY(upower->setDisplay("State", 1u));
    QVERIFY2(becomes(49, "wall power"), qPrintable(told));
}

void PowerTest::serviceRestarts()
{
    QVERIFY(startOnBattery());
    upower->stop();
    QVERIFY2(becomes(43, "NULL power"), qPrintable(told));
    QCOMPARE(probe->platformLog().filter("UPower is gone").size(), 1);

    QVERIFY(upower->start());
    QVERIFY(upower->setUpDisplay(1, 44.0));
    QVERIFY2(becomes(44, "wall power"), qPrintable(told));
    QVERIFY(upower->setDisplay("Percentage", 45.0));
    QVERIFY2(becomes(45, "wall power"), qPrintable(told));
}

void PowerTest::serviceComesLate()
{
    QVERIFY(start("100 NULL power"));
    QVERIFY(upower->start());
    QVERIFY2(becomes(100, "wall power"), qPrintable(told));
    QVERIFY(upower->setUpDisplay(2, 17.0));
    QVERIFY(upower->setOnBattery(true));
    QVERIFY2(becomes(17, "battery"), qPrintable(told));
}

void PowerTest::serviceGoesDuringStart()
{
    QVERIFY(upower->start());
    upower->freeze();
    QVERIFY(probe->start("power"));
    QTest::qSleep(60);
    upower->stop();
    QVERIFY(!probe->answer("end").isNull());
    QVERIFY2(becomes(100, "NULL power"), qPrintable(told));
}

void PowerTest::serviceWithoutTheBatteryOfAll()
{
    QVERIFY(upower->start());
    QVERIFY(upower->mock(MANAGER, "RemoveObject",
                         {QVariant::fromValue(QDBusObjectPath(DISPLAY_DEVICE))}));
    QVERIFY(upower->setOnBattery(true));
    QVERIFY(start("100 battery"));
    QCOMPARE(probe->platformLog().filter("UPower").size(), 1);
}

void PowerTest::restartAndALoneChange()
{
    // The one that comes back tells a change of a battery, and has not answered yet.
    QVERIFY(startOnBattery());
    upower->stop();
    QVERIFY2(becomes(43, "NULL power"), qPrintable(told));

    FakeService returned(bus->connection(), UPOWER,
                         [](const QDBusMessage&) { return QDBusMessage(); });
    for (const char* path : {DISPLAY_DEVICE, "/org/freedesktop/UPower/devices/battery_BAT0"}) {
        QDBusMessage change = QDBusMessage::createSignal(path, PROPERTIES, "PropertiesChanged");
        change << DEVICE << QVariantMap{{"Percentage", 42.0}} << QStringList();
        QVERIFY(bus->connection().send(change));
    }
    // It has been heard when it asks.
    QTRY_VERIFY(returned.calls().size() >= 2);
    ask();
    QCOMPARE(told, QString("43 NULL power"));
}

void PowerTest::interfacesAreNamed()
{
    // A service need not answer a question for the properties of an interface that it does not
    // have.
    FakeService strict(bus->connection(), UPOWER, [](const QDBusMessage& message) {
        const QString interface = message.arguments().value(0).toString();
        const bool isProperties = message.interface() == PROPERTIES && message.member() == "GetAll";
        if (isProperties && message.path() == MANAGER && interface == UPOWER) {
            return message.createReply(QVariantMap{{"OnBattery", true}});
        }
        if (isProperties && message.path() == DISPLAY_DEVICE && interface == DEVICE) {
            return message.createReply(
                QVariantMap{{"IsPresent", true}, {"State", 2u}, {"Percentage", 43.0}});
        }
        return message.createErrorReply("org.example.No", "No such interface");
    });
    QVERIFY(start("43 battery"));
}

void PowerTest::noEventLoopIsRun()
{
    QVERIFY(upower->start());
    upower->freeze();
    QVERIFY(start("100 NULL power"));
    upower->thaw();
    QCOMPARE(probe->all("loops"), QStringList{"0"});
}

void PowerTest::frozenService()
{
    QVERIFY(upower->start());
    QVERIFY(upower->setUpDisplay(2, 43.0));
    upower->freeze();
    const bool started = start("100 NULL power");
    QVERIFY(started);
    QVERIFY2(startMs >= 150, qPrintable(QString::number(startMs)));
    QCOMPARE(probe->platformLog().filter("UPower").size(), 1);
}

void PowerTest::slowServiceIsHeardLater()
{
    QVERIFY(upower->start());
    QVERIFY(upower->setUpDisplay(2, 43.0));
    QVERIFY(upower->setOnBattery(true));
    upower->freeze();
    QVERIFY(start("100 NULL power"));
    upower->thaw();
    QVERIFY2(becomes(43, "battery"), qPrintable(told));
}

void PowerTest::refusalsAreNoHarm()
{
    FakeService refusing(bus->connection(), UPOWER, [](const QDBusMessage& message) {
        return message.createErrorReply("org.example.No", "Not for you");
    });
    QVERIFY(start("100 NULL power"));
    QCOMPARE(probe->platformLog().filter("UPower").size(), 1);
}

void PowerTest::strangeSendersAreNotHeard()
{
    QVERIFY(startOnBattery());
    QDBusMessage signal =
        QDBusMessage::createSignal(DISPLAY_DEVICE, PROPERTIES, "PropertiesChanged");
    signal << DEVICE << QVariantMap{{"Percentage", 1.0}} << QStringList();
    QVERIFY(bus->connection().send(signal));
    QTest::qWait(100);
    ask();
    QCOMPARE(told, QString("43 battery"));
    QVERIFY(upower->setDisplay("Percentage", 42.0));
    QVERIFY2(becomes(42, "battery"), qPrintable(told));
}

void PowerTest::busThatFreezesLater()
{
    QVERIFY(startOnBattery());
    bus->freeze();
    ask();
    const bool ended = probe->waitForEnd(5000);
    bus->thaw();
    QCOMPARE(told, QString("43 battery"));
    QVERIFY(ended);
}

void PowerTest::busThatDies()
{
    QVERIFY(startOnBattery());
    bus->kill();
    QTest::qWait(200);
    ask();
    QVERIFY2(told.startsWith("43 "), qPrintable(told));
    QVERIFY(probe->waitForEnd());
}

QTEST_GUILESS_MAIN(PowerTest)
#include "powertest.moc"
