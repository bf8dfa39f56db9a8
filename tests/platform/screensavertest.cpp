#include "support/fakeservice.h"
#include "support/privatebus.h"
#include "support/probe.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QTest>

#include <cstdio>
#include <memory>

namespace {

const char SCREEN_SAVER[] = "org.freedesktop.ScreenSaver";
const char PORTAL[] = "org.freedesktop.portal.Desktop";
const char REQUEST[] = "/org/freedesktop/portal/desktop/request/1_5/t";

/// What does not wait: far below the 5 s that a service is given, and the 25 s of the D-Bus
/// library.
const int AT_ONCE_MS = 3000;

QDBusMessage grantAs77(const QDBusMessage& message)
{
    return message.member() == "Inhibit" ? message.createReply(QVariant::fromValue(77u))
                                         : message.createReply();
}

QDBusMessage grantRequest(const QDBusMessage& message)
{
    return message.member() == "Inhibit"
               ? message.createReply(QVariant::fromValue(QDBusObjectPath(REQUEST)))
               : message.createReply();
}

QDBusMessage refuse(const QDBusMessage& message)
{
    return message.createErrorReply("org.example.No", "Not today");
}

QDBusMessage saySomethingElse(const QDBusMessage& message)
{
    return message.createReply(QString("granted"));
}

} // namespace

/// The screen saver held off by a process of its own, as the services see it.
class ScreenSaverTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void heldAndLifted();
    void liftedByDeath();
    void portalWhereThereIsNoService_data();
    void portalWhereThereIsNoService();
    void portalSeesTheDeath();
    void neitherIsThere_data();
    void neitherIsThere();
    void refusedByBothCanBeAskedAgain();
    void grantedIsNotAskedAgain();
    void silentServiceIsNotWaitedFor();
    void noBus();
    void frozenBus();
    void busThatFreezesLater();
    void busThatDies();

private:
    bool start();
    bool becomesInhibited();

    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<Probe> probe;
    int startMs = -1;
};

void ScreenSaverTest::init()
{
    bus = std::make_unique<PrivateBus>();
    QVERIFY(bus->start());
    probe = std::make_unique<Probe>();
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", bus->address());
}

void ScreenSaverTest::cleanup()
{
    probe.reset();
    bus.reset();
}

bool ScreenSaverTest::start()
{
    if (!probe->start("inhibit")) {
        return false;
    }
    const bool asked = probe->answer("asked") == "1";
    startMs = probe->answer("ms").toInt();
    const bool askedTwice = probe->answer("twice") == "1";
    printf("           %s: %i ms\n", QTest::currentTestFunction(), startMs);
    return asked && askedTwice;
}

bool ScreenSaverTest::becomesInhibited()
{
    for (int i = 0; i < 200; ++i) {
        probe->say("ask");
        if (probe->answer("inhibited") == "1") {
            return true;
        }
        QTest::qWait(10);
    }
    return false;
}

void ScreenSaverTest::heldAndLifted()
{
    FakeService service(bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY2(startMs < AT_ONCE_MS, qPrintable(QString::number(startMs)));
    QVERIFY(becomesInhibited());
    QCOMPARE(service.calls(), QStringList{"Inhibit pixmoth The show is playing"});
    QVERIFY(probe->waitForEnd());
    QTRY_COMPARE(service.calls(),
                 QStringList({"Inhibit pixmoth The show is playing", "UnInhibit 77"}));
    QCOMPARE(probe->platformLog(), QStringList());
}

void ScreenSaverTest::liftedByDeath()
{
    FakeService service(bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    // A service lifts what a client held that has left the bus; see that ours leaves.
    QDBusServiceWatcher watcher(service.caller(), bus->connection(),
                                QDBusServiceWatcher::WatchForUnregistration);
    bool left = false;
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this, [&left] { left = true; });
    QVERIFY(bus->waitForName(service.caller()));
    QTest::qWait(50);
    QVERIFY(!left);
    probe->kill();
    QTRY_VERIFY(left);
    QCOMPARE(service.calls().size(), 1);
}

void ScreenSaverTest::portalWhereThereIsNoService_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("no service") << false;
    QTest::newRow("service that refuses") << true;
}

void ScreenSaverTest::portalWhereThereIsNoService()
{
    QFETCH(bool, refused);
    std::unique_ptr<FakeService> service;
    QDBusConnection other = QDBusConnection::connectToBus(bus->address(), "other");
    if (refused) {
        service = std::make_unique<FakeService>(other, SCREEN_SAVER, refuse);
    }
    QStringList paths;
    QVariantList inhibit;
    FakeService portal(bus->connection(), PORTAL, [&](const QDBusMessage& message) {
        paths.append(message.path() + ' ' + message.interface() + '.' + message.member());
        if (message.member() == "Inhibit") {
            inhibit = message.arguments();
        }
        return grantRequest(message);
    });
    QVERIFY(start());
    QVERIFY2(startMs < AT_ONCE_MS, qPrintable(QString::number(startMs)));
    QVERIFY(becomesInhibited());
    QCOMPARE(inhibit.size(), 3);
    QCOMPARE(inhibit.at(0), QVariant(""));
    QCOMPARE(inhibit.at(1), QVariant(8u));
    QCOMPARE(qdbus_cast<QVariantMap>(inhibit.at(2)),
             (QVariantMap{{"reason", "The show is playing"}}));
    // They are let go of when the event loop comes to it.
    QTRY_VERIFY((probe->say("ask"), probe->answer("watchers") == "0"));
    QVERIFY(probe->waitForEnd());
    QTRY_COMPARE(paths, QStringList({"/org/freedesktop/portal/desktop "
                                     "org.freedesktop.portal.Inhibit.Inhibit",
                                     QString(REQUEST) + " org.freedesktop.portal.Request.Close"}));
    QCOMPARE(probe->platformLog(), QStringList());
    service.reset();
    QDBusConnection::disconnectFromBus("other");
}

void ScreenSaverTest::portalSeesTheDeath()
{
    FakeService portal(bus->connection(), PORTAL, grantRequest);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    const QString client = portal.caller();
    QVERIFY(bus->processOf(client) > 0);
    probe->kill();
    QTRY_COMPARE(bus->processOf(client), qint64(0));
}

void ScreenSaverTest::neitherIsThere_data()
{
    QTest::addColumn<bool>("there");
    QTest::addColumn<bool>("strange");
    QTest::newRow("no services") << false << false;
    QTest::newRow("both refuse") << true << false;
    QTest::newRow("both say something else") << true << true;
}

void ScreenSaverTest::neitherIsThere()
{
    QFETCH(bool, there);
    QFETCH(bool, strange);
    std::unique_ptr<FakeService> services;
    QDBusConnection connection = bus->connection();
    if (there) {
        services = std::make_unique<FakeService>(connection, SCREEN_SAVER,
                                                 strange ? saySomethingElse : refuse);
        connection.registerService(PORTAL);
    }
    QVERIFY(start());
    QTRY_COMPARE(probe->platformLog().size(), 1);
    QVERIFY2(probe->platformLog().first().startsWith(
                 "pixmoth.platform: Neither a screen saver service nor the portal: the screen may "
                 "blank during the show ("),
             qPrintable(probe->platformLog().first()));
    probe->say("ask");
    QCOMPARE(probe->answer("inhibited"), QString("0"));
    QTRY_VERIFY((probe->say("ask"), probe->answer("watchers") == "0"));
    QVERIFY(probe->waitForEnd());
    QCOMPARE(probe->platformLog().size(), 1);
}

void ScreenSaverTest::refusedByBothCanBeAskedAgain()
{
    bool refusing = true;
    FakeService service(bus->connection(), SCREEN_SAVER, [&](const QDBusMessage& message) {
        return refusing ? refuse(message) : grantAs77(message);
    });
    QVERIFY(start());
    QTRY_COMPARE(probe->platformLog().size(), 1);
    refusing = false;
    probe->say("again");
    QCOMPARE(probe->answer("again"), QString("1"));
    QVERIFY(becomesInhibited());
    const QString call = "Inhibit pixmoth The show is playing";
    QCOMPARE(service.calls(), QStringList({call, call}));
    QVERIFY(probe->waitForEnd());
    QCOMPARE(probe->platformLog().size(), 1);
}

void ScreenSaverTest::grantedIsNotAskedAgain()
{
    FakeService service(bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    probe->say("again");
    QCOMPARE(probe->answer("again"), QString("1"));
    QVERIFY(becomesInhibited());
    QVERIFY(probe->waitForEnd());
    QTRY_COMPARE(service.calls().last(), QString("UnInhibit 77"));
    QCOMPARE(service.calls().size(), 2);
}

void ScreenSaverTest::silentServiceIsNotWaitedFor()
{
    FakeService service(bus->connection(), SCREEN_SAVER,
                        [](const QDBusMessage&) { return QDBusMessage(); });
    QVERIFY(start());
    QVERIFY2(startMs < AT_ONCE_MS, qPrintable(QString::number(startMs)));
    probe->say("ask");
    QCOMPARE(probe->answer("inhibited"), QString("0"));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(probe->waitForEnd());
    QVERIFY2(timer.elapsed() < AT_ONCE_MS, qPrintable(QString::number(timer.elapsed())));
}

void ScreenSaverTest::noBus()
{
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(probe->start("inhibit"));
    QCOMPARE(probe->answer("asked"), QString("0"));
    QVERIFY(probe->answer("ms").toInt() < AT_ONCE_MS);
    QVERIFY(probe->waitForEnd());
    // It has asked twice.
    const QString line = "pixmoth.platform: No session bus: the screen may blank during the show";
    QCOMPARE(probe->platformLog(), QStringList({line, line}));
}

void ScreenSaverTest::frozenBus()
{
    bus->freeze();
    const bool started = probe->start("inhibit");
    const QString asked = probe->answer("asked");
    const int ms = probe->answer("ms").toInt();
    bus->thaw();
    QVERIFY(started);
    QCOMPARE(asked, QString("0"));
    QVERIFY2(ms < AT_ONCE_MS, qPrintable(QString::number(ms)));
    QVERIFY(probe->waitForEnd());
}

void ScreenSaverTest::busThatFreezesLater()
{
    FakeService service(bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    bus->freeze();
    QElapsedTimer timer;
    timer.start();
    const bool ended = probe->waitForEnd();
    bus->thaw();
    QVERIFY(ended);
    QVERIFY2(timer.elapsed() < AT_ONCE_MS, qPrintable(QString::number(timer.elapsed())));
}

void ScreenSaverTest::busThatDies()
{
    {
        FakeService service(bus->connection(), SCREEN_SAVER, grantAs77);
        QVERIFY(start());
        QVERIFY(becomesInhibited());
    }
    bus->kill();
    QTest::qWait(200);
    probe->say("ask");
    QVERIFY(!probe->answer("inhibited").isNull());
    QVERIFY(probe->waitForEnd());
}

QTEST_GUILESS_MAIN(ScreenSaverTest)
#include "screensavertest.moc"
