#include "support/fakeservice.h"
#include "support/privatebus.h"
#include "support/probe.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QTest>

#include <memory>

namespace {

const QString SCREEN_SAVER("org.freedesktop.ScreenSaver");
const QString PORTAL("org.freedesktop.portal.Desktop");
/// What does not wait: far below the 5 s that a service is given, and the 25 s of the D-Bus
/// library.
const int AT_ONCE_MS = 3000;
const QString REQUEST("/org/freedesktop/portal/desktop/request/1_5/t");

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

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<Probe> m_probe;
    int m_ms = -1;
};

void ScreenSaverTest::init()
{
    m_bus = std::make_unique<PrivateBus>();
    QVERIFY(m_bus->start());
    m_probe = std::make_unique<Probe>();
    m_probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
}

void ScreenSaverTest::cleanup()
{
    m_probe.reset();
    m_bus.reset();
}

bool ScreenSaverTest::start()
{
    if (!m_probe->start("inhibit")) {
        return false;
    }
    const bool asked = m_probe->answer("asked") == "1";
    m_ms = m_probe->answer("ms").toInt();
    const bool askedTwice = m_probe->answer("twice") == "1";
    printf("           %s: %i ms\n", QTest::currentTestFunction(), m_ms);
    return asked && askedTwice;
}

bool ScreenSaverTest::becomesInhibited()
{
    for (int i = 0; i < 200; ++i) {
        m_probe->say("ask");
        if (m_probe->answer("inhibited") == "1") {
            return true;
        }
        QTest::qWait(10);
    }
    return false;
}

void ScreenSaverTest::heldAndLifted()
{
    FakeService service(m_bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY2(m_ms < AT_ONCE_MS, qPrintable(QString::number(m_ms)));
    QVERIFY(becomesInhibited());
    QCOMPARE(service.calls(), QStringList{"Inhibit pixmoth The show is playing"});
    QVERIFY(m_probe->waitForEnd());
    QTRY_COMPARE(service.calls(),
                 QStringList({"Inhibit pixmoth The show is playing", "UnInhibit 77"}));
    QCOMPARE(m_probe->platformLog(), QStringList());
}

void ScreenSaverTest::liftedByDeath()
{
    FakeService service(m_bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    // A service lifts what a client held that has left the bus; see that ours leaves.
    QDBusServiceWatcher watcher(service.caller(), m_bus->connection(),
                                QDBusServiceWatcher::WatchForUnregistration);
    bool left = false;
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this, [&left] { left = true; });
    QVERIFY(m_bus->waitForName(service.caller()));
    QTest::qWait(50);
    QVERIFY(!left);
    m_probe->kill();
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
    QDBusConnection other = QDBusConnection::connectToBus(m_bus->address(), "other");
    if (refused) {
        service = std::make_unique<FakeService>(other, SCREEN_SAVER, refuse);
    }
    QStringList paths;
    QVariantList inhibit;
    FakeService portal(m_bus->connection(), PORTAL, [&](const QDBusMessage& message) {
        paths.append(message.path() + ' ' + message.interface() + '.' + message.member());
        if (message.member() == "Inhibit") {
            inhibit = message.arguments();
        }
        return grantRequest(message);
    });
    QVERIFY(start());
    QVERIFY2(m_ms < AT_ONCE_MS, qPrintable(QString::number(m_ms)));
    QVERIFY(becomesInhibited());
    QCOMPARE(inhibit.size(), 3);
    QCOMPARE(inhibit.at(0), QVariant(""));
    QCOMPARE(inhibit.at(1), QVariant(8u));
    QCOMPARE(qdbus_cast<QVariantMap>(inhibit.at(2)),
             (QVariantMap{{"reason", "The show is playing"}}));
    // They are let go of when the event loop comes to it.
    QTRY_VERIFY((m_probe->say("ask"), m_probe->answer("watchers") == "0"));
    QVERIFY(m_probe->waitForEnd());
    QTRY_COMPARE(paths, QStringList({"/org/freedesktop/portal/desktop "
                                     "org.freedesktop.portal.Inhibit.Inhibit",
                                     REQUEST + " org.freedesktop.portal.Request.Close"}));
    QCOMPARE(m_probe->platformLog(), QStringList());
    service.reset();
    QDBusConnection::disconnectFromBus("other");
}

void ScreenSaverTest::portalSeesTheDeath()
{
    FakeService portal(m_bus->connection(), PORTAL, grantRequest);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    const QString client = portal.caller();
    QVERIFY(m_bus->processOf(client) > 0);
    m_probe->kill();
    QTRY_COMPARE(m_bus->processOf(client), qint64(0));
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
    QDBusConnection connection = m_bus->connection();
    if (there) {
        services = std::make_unique<FakeService>(connection, SCREEN_SAVER,
                                                 strange ? saySomethingElse : refuse);
        connection.registerService(PORTAL);
    }
    QVERIFY(start());
    QTRY_COMPARE(m_probe->platformLog().size(), 1);
    QVERIFY2(m_probe->platformLog().first().startsWith(
                 "pixmoth.platform: Neither a screen saver service nor the portal: the screen may "
                 "blank during the show ("),
             qPrintable(m_probe->platformLog().first()));
    m_probe->say("ask");
    QCOMPARE(m_probe->answer("inhibited"), QString("0"));
    QTRY_VERIFY((m_probe->say("ask"), m_probe->answer("watchers") == "0"));
    QVERIFY(m_probe->waitForEnd());
    QCOMPARE(m_probe->platformLog().size(), 1);
}

void ScreenSaverTest::refusedByBothCanBeAskedAgain()
{
    bool refusing = true;
    FakeService service(m_bus->connection(), SCREEN_SAVER, [&](const QDBusMessage& message) {
        return refusing ? refuse(message) : grantAs77(message);
    });
    QVERIFY(start());
    QTRY_COMPARE(m_probe->platformLog().size(), 1);
    refusing = false;
    m_probe->say("again");
    QCOMPARE(m_probe->answer("again"), QString("1"));
    QVERIFY(becomesInhibited());
    const QString call = "Inhibit pixmoth The show is playing";
    QCOMPARE(service.calls(), QStringList({call, call}));
    QVERIFY(m_probe->waitForEnd());
    QCOMPARE(m_probe->platformLog().size(), 1);
}

void ScreenSaverTest::grantedIsNotAskedAgain()
{
    FakeService service(m_bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    m_probe->say("again");
    QCOMPARE(m_probe->answer("again"), QString("1"));
    QVERIFY(becomesInhibited());
    QVERIFY(m_probe->waitForEnd());
    QTRY_COMPARE(service.calls().last(), QString("UnInhibit 77"));
    QCOMPARE(service.calls().size(), 2);
}

void ScreenSaverTest::silentServiceIsNotWaitedFor()
{
    FakeService service(m_bus->connection(), SCREEN_SAVER,
                        [](const QDBusMessage&) { return QDBusMessage(); });
    QVERIFY(start());
    QVERIFY2(m_ms < AT_ONCE_MS, qPrintable(QString::number(m_ms)));
    m_probe->say("ask");
    QCOMPARE(m_probe->answer("inhibited"), QString("0"));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(m_probe->waitForEnd());
    QVERIFY2(timer.elapsed() < AT_ONCE_MS, qPrintable(QString::number(timer.elapsed())));
}

void ScreenSaverTest::noBus()
{
    m_probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(m_probe->start("inhibit"));
    QCOMPARE(m_probe->answer("asked"), QString("0"));
    QVERIFY(m_probe->answer("ms").toInt() < AT_ONCE_MS);
    QVERIFY(m_probe->waitForEnd());
    // It has asked twice.
    const QString line = "pixmoth.platform: No session bus: the screen may blank during the show";
    QCOMPARE(m_probe->platformLog(), QStringList({line, line}));
}

void ScreenSaverTest::frozenBus()
{
    m_bus->freeze();
    const bool started = m_probe->start("inhibit");
    const QString asked = m_probe->answer("asked");
    const int ms = m_probe->answer("ms").toInt();
    m_bus->thaw();
    QVERIFY(started);
    QCOMPARE(asked, QString("0"));
    QVERIFY2(ms < AT_ONCE_MS, qPrintable(QString::number(ms)));
    QVERIFY(m_probe->waitForEnd());
}

void ScreenSaverTest::busThatFreezesLater()
{
    FakeService service(m_bus->connection(), SCREEN_SAVER, grantAs77);
    QVERIFY(start());
    QVERIFY(becomesInhibited());
    m_bus->freeze();
    QElapsedTimer timer;
    timer.start();
    const bool ended = m_probe->waitForEnd();
    m_bus->thaw();
    QVERIFY(ended);
    QVERIFY2(timer.elapsed() < AT_ONCE_MS, qPrintable(QString::number(timer.elapsed())));
}

void ScreenSaverTest::busThatDies()
{
    {
        FakeService service(m_bus->connection(), SCREEN_SAVER, grantAs77);
        QVERIFY(start());
        QVERIFY(becomesInhibited());
    }
    m_bus->kill();
    QTest::qWait(200);
    m_probe->say("ask");
    QVERIFY(!m_probe->answer("inhibited").isNull());
    QVERIFY(m_probe->waitForEnd());
}

QTEST_GUILESS_MAIN(ScreenSaverTest)
#include "screensavertest.moc"
