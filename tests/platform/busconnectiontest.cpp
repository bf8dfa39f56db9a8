#include "support/privatebus.h"
#include "support/probe.h"

#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>

/// Where the session's bus is looked for. Each row asks in a process of its own, for a process
/// looks once.
class BusConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void address_data();
    void address();
    void usualPlace();
    void addressThatCannotBeTried();

private:
    QString connected();

    std::unique_ptr<Probe> probe;
};

/// "1", "0", or nothing where the probe came to no end.
QString BusConnectionTest::connected()
{
    if (!probe->start("buses")) {
        return QString();
    }
    const QString answer = probe->answer("session");
    return probe->waitForEnd() ? answer : QString();
}

void BusConnectionTest::address_data()
{
    QTest::addColumn<QString>("address"); // %1 stands for that of a living bus.
    QTest::addColumn<QString>("answer");
    QTest::newRow("living") << "%1"
                            << "1";
    QTest::newRow("nothing there") << "unix:path=/nonexistent"
                                   << "0";
    QTest::newRow("second of two") << "unix:path=/nonexistent;%1"
                                   << "1";
    QTest::newRow("nothing but gaps") << ";;"
                                      << "0";
    QTest::newRow("longer than a socket's name can be") << "unix:path=/" + QString(200, 'x') << "0";
    QTest::newRow("abstract, nobody there") << "unix:abstract=/pixmoth/nobody"
                                            << "0";
    QTest::newRow("file that is no socket") << "unix:path=/etc/passwd"
                                            << "0";
}

void BusConnectionTest::address()
{
    QFETCH(QString, address);
    QFETCH(QString, answer);
    PrivateBus bus;
    QVERIFY(bus.start());
    probe = std::make_unique<Probe>();
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", address.replace("%1", bus.address()));
    QCOMPARE(connected(), answer);
}

void BusConnectionTest::usualPlace()
{
    PrivateBus bus;
    QVERIFY(bus.start());
    QTemporaryDir runtime;
    const auto prepare = [&] {
        probe = std::make_unique<Probe>();
        probe->environment.remove("DBUS_SESSION_BUS_ADDRESS");
        probe->environment.insert("XDG_RUNTIME_DIR", runtime.path());
        probe->environment.remove("DISPLAY"); // Where a bus may be named as well.
    };
    prepare();
    QCOMPARE(connected(), QString("0"));

    const QString socket = bus.address().section("path=", 1).section(',', 0, 0);
    QCOMPARE(std::rename(qPrintable(socket), qPrintable(runtime.filePath("bus"))), 0);
    prepare();
    QCOMPARE(connected(), QString("1"));
}

void BusConnectionTest::addressThatCannotBeTried()
{
    // Left to the bus library, which finds nobody at that port.
    probe = std::make_unique<Probe>();
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", "tcp:host=localhost,port=1");
    QCOMPARE(connected(), QString("0"));
}

QTEST_GUILESS_MAIN(BusConnectionTest)
#include "busconnectiontest.moc"
