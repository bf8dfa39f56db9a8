#include "platform/busconnection.h"
#include "platform/machineidentity.h"
#include "support/fakeservice.h"
#include "support/files.h"
#include "support/privatebus.h"
#include "support/probe.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFile>
#include <QList>
#include <QRegularExpression>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>

namespace {

const char MODEM_MANAGER[] = "org.freedesktop.ModemManager1";
const char OFONO[] = "org.ofono";
const char MODEM[] = "org.freedesktop.ModemManager1.Modem";
const char MODEM_3GPP[] = "org.freedesktop.ModemManager1.Modem.Modem3gpp";
const char IMEI[] = "356938035643809";
const char IMSI[] = "244121234567890";

/// The modem's service may take 150 ms of the start, after UPower and a look for the bus; the rest
/// is for sanitizers.
const int LIMIT_MS = 550;

QVariant path(const QString& text)
{
    return QVariant::fromValue(QDBusObjectPath(text));
}

} // namespace

/// A modem as oFono lists it.
struct OfonoModem
{
    QDBusObjectPath path;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(OfonoModem)
Q_DECLARE_METATYPE(QList<OfonoModem>)

QDBusArgument& operator<<(QDBusArgument& argument, const OfonoModem& modem)
{
    argument.beginStructure();
    argument << modem.path << modem.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, OfonoModem& modem)
{
    argument.beginStructure();
    argument >> modem.path >> modem.properties;
    argument.endStructure();
    return argument;
}

class IdentityTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void machine_data();
    void machine();
    void thisMachine();

    void noBus();
    void noService();
    void frozenBus();
    void modemManager_data();
    void modemManager();
    void ofono_data();
    void ofono();
    void modemManagerBeforeOfono();
    void ofonoWhereModemManagerHasNone();
    void silentServices_data();
    void silentServices();
    void strangeAnswers_data();
    void strangeAnswers();
    void numbersAreNotTheCategorysToTell();
    void servicesAreNotStarted();
    void identityStandsTogether();

private:
    void write(const QString& file, const QByteArray& content);
    bool run(const QString& name, const QString& imei = QString(), const QString& imsi = QString());
    FakeService::Answer modemManagerWith(const platform::ManagedObjects& objects);
    FakeService::Answer ofonoWith(const QList<OfonoModem>& modems);

    std::unique_ptr<QTemporaryDir> root;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<Probe> probe;
};

void IdentityTest::initTestCase()
{
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<platform::ManagedObjects>();
    qDBusRegisterMetaType<OfonoModem>();
    qDBusRegisterMetaType<QList<OfonoModem>>();
}

void IdentityTest::init()
{
    root = std::make_unique<QTemporaryDir>();
    bus = std::make_unique<PrivateBus>();
    QVERIFY(bus->start());
    probe = std::make_unique<Probe>();
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus->address());
}

void IdentityTest::cleanup()
{
    probe.reset();
    bus.reset();
}

void IdentityTest::write(const QString& file, const QByteArray& content)
{
    QVERIFY(writeFile(root->path() + file, content));
}

void IdentityTest::machine_data()
{
    QTest::addColumn<QStringList>("files"); // Name, content, name, content, …
    QTest::addColumn<QString>("maker");
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("product");
    const QString dmi("/sys/class/dmi/id/");
    const QString tree("/proc/device-tree/model");
    const QString system("/etc/os-release");
    const QString system2("/usr/lib/os-release");
    QTest::newRow("a PC") << QStringList{dmi + "sys_vendor",   "LENOVO\n",
                                         dmi + "product_name", "20AWS0\n",
                                         dmi + "board_name",   "20AW\n"}
                          << "LENOVO"
                          << "20AWS0"
                          << "20AW";
    QTest::newRow("a phone") << QStringList{tree, QString("Pine64 PinePhone (1.2)") + QChar(0),
                                            system, "ID=mobian\nPRETTY_NAME=\"Mobian 12\"\n"}
                             << "Pine64"
                             << "PinePhone (1.2)"
                             << "Mobian 12";
    QTest::newRow("a careless maker") << QStringList{dmi + "sys_vendor",
                                                     "To Be Filled By O.E.M.\n",
                                                     dmi + "product_name",
                                                     "System Product Name",
                                                     dmi + "board_name",
                                                     "Default string\n",
                                                     system2,
                                                     "PRETTY_NAME='Some System'\nBUILD_ID=x\n"}
                                      << ""
                                      << ""
                                      << "Some System";
    QTest::newRow("one word") << QStringList{tree, "Board", system, "PRETTY_NAME=S"} << "Board"
                              << ""
                              << "S";
    QTest::newRow("empty files")
        << QStringList{dmi + "sys_vendor", "", dmi + "product_name", "\n", tree, "", system, ""}
        << ""
        << "" << QSysInfo::prettyProductName();
    QTest::newRow("nothing") << QStringList() << ""
                             << "" << QSysInfo::prettyProductName();
    QTest::newRow("long") << QStringList{dmi + "sys_vendor", QString(100000, 'x'), system,
                                         QString(100000, 'x') + "\nPRETTY_NAME=S"}
                          << QString(255, 'x') << ""
                          << "S";
}

void IdentityTest::machine()
{
    QFETCH(QStringList, files);
    QFETCH(QString, maker);
    QFETCH(QString, model);
    QFETCH(QString, product);
    for (int i = 0; i < files.size(); i += 2) {
        write(files.at(i), files.at(i + 1).toUtf8());
    }
    const platform::MachineIdentity identity(root->path());
    QCOMPARE(identity.manufacturer, maker);
    QCOMPARE(identity.model, model);
    QCOMPARE(identity.productName, product);
}

void IdentityTest::thisMachine()
{
    const platform::MachineIdentity identity;
    QVERIFY(!identity.productName.isEmpty());
}

/// Has the probe ask for the numbers, until they are these and come in time.
bool IdentityTest::run(const QString& name, const QString& imei, const QString& imsi)
{
    for (int i = 0; i < Probe::ATTEMPTS; ++i) {
        probe = probe->again();
        if (!probe->start("identity") || probe->answer("again").isNull() || !probe->waitForEnd()) {
            return false;
        }
        const QStringList told = probe->all("imei") + probe->all("imsi");
        const int ms = probe->all("ms").value(0).toInt();
        // The services are asked once.
        const int again = probe->all("again").value(0).toInt();
        printf("           %s: %s in %i ms, again in %i ms\n", qPrintable(name),
               qPrintable(told.join(' ')), ms, again);
        if (probe->all("loops") != QStringList{"0"}) {
            return false;
        }
        if (told == QStringList{"<" + imei + ">", "<" + imsi + ">"} && ms < LIMIT_MS &&
            again < 50) {
            return true;
        }
    }
    return false;
}

FakeService::Answer IdentityTest::modemManagerWith(const platform::ManagedObjects& objects)
{
    return [objects](const QDBusMessage& message) {
        if (message.member() == "GetManagedObjects" &&
            message.interface() == "org.freedesktop.DBus.ObjectManager") {
            return message.createReply(QVariant::fromValue(objects));
        }
        if (message.member() == "Get" && message.interface() == "org.freedesktop.DBus.Properties" &&
            message.arguments().value(0) == "org.freedesktop.ModemManager1.Sim" &&
            message.path() == "/org/freedesktop/ModemManager1/SIM/0" &&
            message.arguments().value(1) == "Imsi") {
            return message.createReply(QVariant::fromValue(QDBusVariant(IMSI)));
        }
        return message.createErrorReply("org.example.No", "No such thing");
    };
}

FakeService::Answer IdentityTest::ofonoWith(const QList<OfonoModem>& modems)
{
    return [modems](const QDBusMessage& message) {
        if (message.member() == "GetModems" && message.interface() == "org.ofono.Manager") {
            return message.createReply(QVariant::fromValue(modems));
        }
        if (message.member() == "GetProperties" && message.path() == "/ril_0" &&
            message.interface() == "org.ofono.SimManager") {
            return message.createReply(
                QVariantMap{{"Present", true}, {"SubscriberIdentity", IMSI}});
        }
        return message.createErrorReply("org.example.No", "No such thing");
    };
}

void IdentityTest::noBus()
{
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(run("no bus"));
}

void IdentityTest::noService()
{
    QVERIFY(run("no service"));
    QCOMPARE(probe->platformLog().filter("modem").size(), 1);
    QVERIFY(probe->platformLog().filter("modem").first().contains("neither"));
}

void IdentityTest::frozenBus()
{
    bus->freeze();
    const bool ran = run("frozen bus");
    bus->thaw();
    QVERIFY(ran);
}

void IdentityTest::modemManager_data()
{
    QTest::addColumn<platform::ManagedObjects>("objects");
    QTest::addColumn<QString>("imei");
    QTest::addColumn<QString>("imsi");
    using Objects = platform::ManagedObjects;
    const QDBusObjectPath first("/org/freedesktop/ModemManager1/Modem/0");
    const QDBusObjectPath second("/org/freedesktop/ModemManager1/Modem/1");
    const QVariant card = path("/org/freedesktop/ModemManager1/SIM/0");
    QTest::newRow("no modem") << Objects() << ""
                              << "";
    QTest::newRow("modem and card")
        << Objects{{first, {{MODEM, {{"EquipmentIdentifier", IMEI}, {"Sim", card}}}}}} << IMEI
        << IMSI;
    QTest::newRow("no card")
        << Objects{{first, {{MODEM, {{"EquipmentIdentifier", IMEI}, {"Sim", path("/")}}}}}} << IMEI
        << "";
    QTest::newRow("card that cannot be asked")
        << Objects{{first, {{MODEM, {{"EquipmentIdentifier", IMEI}, {"Sim", path("/other")}}}}}}
        << IMEI << "";
    QTest::newRow("two numbers")
        << Objects{{first,
                    {{MODEM, {{"EquipmentIdentifier", "A1000009"}, {"Sim", card}}},
                     {MODEM_3GPP, {{"Imei", IMEI}}}}}}
        << IMEI << IMSI;
    QTest::newRow("second modem")
        << Objects{{first, {{MODEM, {{"EquipmentIdentifier", ""}}}}},
                   {second, {{MODEM, {{"EquipmentIdentifier", IMEI}, {"Sim", card}}}}}}
        << IMEI << IMSI;
    QTest::newRow("something else")
        << Objects{{first, {{"org.example.Kettle", {{"On", true}}}}}} << ""
        << "";
}

void IdentityTest::modemManager()
{
    QFETCH(platform::ManagedObjects, objects);
    QFETCH(QString, imei);
    QFETCH(QString, imsi);
    FakeService service(bus->connection(), MODEM_MANAGER, modemManagerWith(objects));
    QVERIFY(run(QString("ModemManager, %1").arg(QTest::currentDataTag()), imei, imsi));
    QVERIFY(service.calls().first().startsWith("GetManagedObjects"));
    if (imsi.isEmpty() && QTest::currentDataTag() != QByteArray("card that cannot be asked")) {
        // There is no card to be asked for its number.
        QCOMPARE(service.calls().filter("Imsi"), QStringList());
    }
}

void IdentityTest::ofono_data()
{
    QTest::addColumn<QList<OfonoModem>>("modems");
    QTest::addColumn<QString>("imei");
    QTest::addColumn<QString>("imsi");
    using Modems = QList<OfonoModem>;
    const QDBusObjectPath first("/ril_0");
    const QDBusObjectPath second("/ril_1");
    QTest::newRow("no modem") << Modems() << ""
                              << "";
    QTest::newRow("modem and card")
        << Modems{{first, {{"Serial", IMEI}, {"Online", true}}}} << IMEI << IMSI;
    QTest::newRow("modem that is off") << Modems{{first, {{"Powered", false}}}} << ""
                                       << "";
    QTest::newRow("second modem") << Modems{{second, {{"Powered", false}}},
                                            {first, {{"Serial", IMEI}}}}
                                  << IMEI << IMSI;
    QTest::newRow("no card") << Modems{{second, {{"Serial", IMEI}}}} << IMEI << "";
}

void IdentityTest::ofono()
{
    QFETCH(QList<OfonoModem>, modems);
    QFETCH(QString, imei);
    QFETCH(QString, imsi);
    FakeService service(bus->connection(), OFONO, ofonoWith(modems));
    QVERIFY(run(QString("oFono, %1").arg(QTest::currentDataTag()), imei, imsi));
}

void IdentityTest::modemManagerBeforeOfono()
{
    // Slow enough for the other to have answered.
    const QDBusObjectPath modem("/org/freedesktop/ModemManager1/Modem/0");
    const auto modemManager =
        modemManagerWith({{modem, {{MODEM, {{"EquipmentIdentifier", IMEI}}}}}});
    FakeService service(bus->connection(), MODEM_MANAGER, modemManager);
    QVERIFY(run("ModemManager alone", IMEI));
}

void IdentityTest::ofonoWhereModemManagerHasNone()
{
    QDBusConnection other = QDBusConnection::connectToBus(bus->address(), "other");
    FakeService none(other, MODEM_MANAGER, modemManagerWith({}));
    FakeService service(bus->connection(), OFONO,
                        ofonoWith({{QDBusObjectPath("/ril_0"), {{"Serial", IMEI}}}}));
    QVERIFY(run("both services", IMEI, IMSI));
    QDBusConnection::disconnectFromBus("other");
}

void IdentityTest::silentServices_data()
{
    QTest::addColumn<bool>("modemManagerToo");
    QTest::addColumn<QString>("imei");
    QTest::newRow("ModemManager") << false << IMEI;
    QTest::newRow("both") << true << QString();
}

void IdentityTest::silentServices()
{
    QFETCH(bool, modemManagerToo);
    QFETCH(QString, imei);
    const auto silence = [](const QDBusMessage&) { return QDBusMessage(); };
    QDBusConnection other = QDBusConnection::connectToBus(bus->address(), "other");
    FakeService silent(other, MODEM_MANAGER, silence);
    const auto modem = ofonoWith({{QDBusObjectPath("/ril_0"), {{"Serial", IMEI}}}});
    FakeService service(bus->connection(), OFONO, modemManagerToo ? silence : modem);
    QVERIFY(run(QString("silent: %1").arg(QTest::currentDataTag()), imei,
                modemManagerToo ? QString() : IMSI));
    QCOMPARE(probe->platformLog().filter("does not answer").size(), modemManagerToo ? 1 : 0);
    QDBusConnection::disconnectFromBus("other");
}

void IdentityTest::strangeAnswers_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("nothing") << QVariantList();
    QTest::newRow("a number") << QVariantList{7};
    QTest::newRow("a word") << QVariantList{"modem"};
    QTest::newRow("a map") << QVariantList{QVariantMap{{"Serial", IMEI}}};
    QTest::newRow("words") << QVariantList{QStringList{IMEI}};
}

void IdentityTest::strangeAnswers()
{
    QFETCH(QVariantList, answer);
    QDBusConnection other = QDBusConnection::connectToBus(bus->address(), "other");
    const auto strange = [answer](const QDBusMessage& message) {
        return message.createReply(answer);
    };
    FakeService one(other, MODEM_MANAGER, strange);
    FakeService two(bus->connection(), OFONO, strange);
    QVERIFY(run(QString("strange: %1").arg(QTest::currentDataTag())));
    QDBusConnection::disconnectFromBus("other");
}

void IdentityTest::numbersAreNotTheCategorysToTell()
{
    FakeService service(bus->connection(), OFONO,
                        ofonoWith({{QDBusObjectPath("/ril_0"), {{"Serial", IMEI}}}}));
    QVERIFY(run("log", IMEI, IMSI));
    QCOMPARE(probe->platformLog().filter(IMEI), QStringList());
    QCOMPARE(probe->platformLog().filter(IMSI), QStringList());
}

void IdentityTest::servicesAreNotStarted()
{
    // A machine where the service could be started, but is not wanted: it stays as it is.
    const QString started = root->filePath("started");
    write("/services/modem.service", "[D-BUS Service]\nName=" + QByteArray(MODEM_MANAGER) +
                                         "\nExec=/bin/sh -c \"touch " + started.toUtf8() +
                                         "; exit 1\"\n");
    PrivateBus starter;
    QVERIFY(starter.start({root->filePath("services")}));
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", starter.address());
    QVERIFY(run("service not running"));
    QVERIFY(!QFile::exists(started));
    // It could have been started, though.
    starter.connection().interface()->startService(MODEM_MANAGER);
    QTRY_VERIFY(QFile::exists(started));
}

void IdentityTest::identityStandsTogether()
{
    // A machine with much to complain of: neither UPower nor a modem.
    QVERIFY(probe->start("power"));
    QVERIFY(!probe->answer("end").isNull());
    QVERIFY(probe->waitForEnd());
    const QStringList log = probe->wholeLog();
    const QStringList show = log.filter(QRegularExpression("^default: "));
    QVERIFY2(show.size() >= 5, qPrintable(log.join('\n')));
    QVERIFY2(probe->platformLog().size() == 2, qPrintable(log.join('\n')));
    const int first = log.indexOf(show.first());
    QVERIFY2(log.mid(first, 5) == show.mid(0, 5), qPrintable(log.join('\n')));
    QCOMPARE(first, 2);
}

QTEST_GUILESS_MAIN(IdentityTest)
#include "identitytest.moc"
