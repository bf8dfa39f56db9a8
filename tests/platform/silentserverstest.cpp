#include "platform/silentservers.h"

#include "platform/privatebus.h"
#include "platform/probe.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

/// What becomes of servers that do not answer. Each row asks in a process of its own.
class SilentServersTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void bus_data();
    void bus();
    void soundServer_data();
    void soundServer();
    void helloIsWellFormed();

private:
    bool run();

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<Probe> probe;
};

void SilentServersTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(folder->path()).mkpath("pulse"));
    probe = std::make_unique<Probe>();
    probe->environment.remove("PULSE_SERVER");
    probe->environment.insert("XDG_RUNTIME_DIR", folder->path());
}

bool SilentServersTest::run()
{
    return probe->start("servers") && !probe->answer("ms").isNull() && probe->waitForEnd();
}

void SilentServersTest::bus_data()
{
    QTest::addColumn<QString>("state");
    QTest::newRow("alive") << "alive";
    QTest::newRow("frozen") << "frozen";
    QTest::newRow("dead") << "dead";
    QTest::newRow("not told of") << "not told of";
}

void SilentServersTest::bus()
{
    QFETCH(QString, state);
    PrivateBus bus;
    QVERIFY(bus.start());
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    if (state == "frozen") {
        bus.freeze();
    } else if (state == "dead") {
        bus.kill();
    } else if (state == "not told of") {
        probe->environment.remove("DBUS_SESSION_BUS_ADDRESS");
    }
    QVERIFY(run());
    QCOMPARE(probe->all("bus"),
             QStringList{state == "alive" ? bus.address() : "unix:path=/nonexistent"});
}

void SilentServersTest::soundServer_data()
{
    QTest::addColumn<QString>("told"); // %1 stands for the folder.
    QTest::addColumn<bool>("listens");
    QTest::addColumn<bool>("answers");
    QTest::addColumn<QString>("becomes");
    const QString hidden("unix:/nonexistent");
    QTest::newRow("usual place, answers") << "" << true << true << "";
    QTest::newRow("usual place, silent") << "" << true << false << hidden;
    QTest::newRow("usual place, nobody") << "" << false << false << "";
    QTest::newRow("unix:, answers")
        << "unix:%1/pulse/native" << true << true << "unix:%1/pulse/native";
    QTest::newRow("unix:, silent") << "unix:%1/pulse/native" << true << false << hidden;
    QTest::newRow("path, silent") << "%1/pulse/native" << true << false << hidden;
    QTest::newRow("machine and path, silent")
        << "{0123}unix:%1/pulse/native" << true << false << hidden;
    QTest::newRow("another machine") << "tcp:sound.example" << true << false << "tcp:sound.example";
    QTest::newRow("nonsense") << "{" << true << false << "{";
}

void SilentServersTest::soundServer()
{
    QFETCH(QString, told);
    QFETCH(bool, listens);
    QFETCH(bool, answers);
    QFETCH(QString, becomes);
    QLocalServer server;
    if (answers) {
        connect(&server, &QLocalServer::newConnection, &server, [&server] {
            QLocalSocket* guest = server.nextPendingConnection();
            connect(guest, &QLocalSocket::readyRead, guest, [guest] { guest->write("welcome"); });
        });
    }
    QVERIFY(!listens || server.listen(folder->filePath("pulse/native")));
    if (!told.isEmpty()) {
        probe->environment.insert("PULSE_SERVER", told.replace("%1", folder->path()));
    }
    QVERIFY(run());
    QCOMPARE(probe->all("sound"), QStringList{becomes.replace("%1", folder->path())});
    const bool hidden = becomes == "unix:/nonexistent";
    QCOMPARE(probe->platformLog().size(), hidden ? 1 : 0);
    const int ms = probe->all("ms").value(0).toInt();
    QVERIFY2(hidden ? ms >= 1990 && ms < 6000 : ms < 1500, qPrintable(QString::number(ms)));
}

void SilentServersTest::helloIsWellFormed()
{
    QLocalServer server;
    QByteArray heard;
    connect(&server, &QLocalServer::newConnection, &server, [&] {
        QLocalSocket* guest = server.nextPendingConnection();
        connect(guest, &QLocalSocket::readyRead, guest, [&heard, guest] {
            heard += guest->readAll();
            if (heard.size() >= 296) {
                guest->write("welcome");
            }
        });
    });
    QVERIFY(server.listen(folder->filePath("pulse/native")));
    QVERIFY(run());
    // A descriptor of five numbers, the first of which is the size of what follows it.
    QCOMPARE(heard.size(), 20 + 276);
    QCOMPARE(qFromBigEndian<quint32>(heard.constData()), 276u);
    QCOMPARE(heard.mid(4, 16), QByteArray(4, '\xff') + QByteArray(12, '\0'));
    QCOMPARE(heard.mid(20, 20), QByteArray("L\0\0\0\x08L\0\0\0\0L\0\0\0\x0dx\0\0\x01\0", 20));
    QCOMPARE(heard.mid(40), QByteArray(256, '\0'));
}

QTEST_GUILESS_MAIN(SilentServersTest)
#include "silentserverstest.moc"
