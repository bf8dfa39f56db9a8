#include "platform/silentservers.h"

#include "support/files.h"
#include "support/privatebus.h"
#include "support/probe.h"
#include "support/soundserver.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QHostInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <csignal>
#include <memory>

/// What becomes of servers that do not answer. Each row asks in a process of its own.
class SilentServersTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void sessionBus_data();
    void sessionBus();
    void systemBus_data();
    void systemBus();
    void busThatStopsAfterTheGreeting();
    void bridgeToABusIsEnded();
    void soundServer_data();
    void soundServer();
    void soundServerOfAFile();
    void realSoundServer_data();
    void realSoundServer();
    void allAtOnce();
    void sessionManagerIsNotLookedFor();

private:
    bool run();
    /// Replaces %1 by the folder, %2 by the port of a server that says nothing.
    QString told(QString text) const;
    /// True when just `line` is logged, or nothing for an empty one.
    bool logs(const QString& line);

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<Probe> probe;
    std::unique_ptr<QTcpServer> silent;
};

namespace {

const char NO_BUS[] = "unix:path=/nonexistent";
const char NO_SOUND_SERVER[] = "unix:/nonexistent";
const char SILENT_SESSION_BUS[] = "The session bus does not answer";
const char SILENT_SYSTEM_BUS[] = "The system bus does not answer";
const char SILENT_SOUND_SERVER[] = "No sound: the sound server does not answer";

/// A sound server of few words: it grants what it is asked, so many times, and then stops.
class FakeSoundServer
{
public:
    explicit FakeSoundServer(int answers)
    {
        QObject::connect(&server, &QLocalServer::newConnection, &server, [this, answers] {
            QLocalSocket* guest = server.nextPendingConnection();
            auto left = std::make_shared<int>(answers);
            QObject::connect(guest, &QLocalSocket::readyRead, guest, [this, guest, left] {
                heard += guest->readAll();
                answer(guest, *left);
            });
        });
    }

    bool listen(const QString& name)
    {
        return server.listen(name);
    }

private:
    static void append(QByteArray& packet, quint32 number)
    {
        number = qToBigEndian(number);
        packet.append(reinterpret_cast<const char*>(&number), sizeof number);
    }

    void answer(QLocalSocket* guest, int& left)
    {
        const int head = 20;
        while (heard.size() >= head) {
            const auto size = static_cast<int>(qFromBigEndian<quint32>(heard.constData()));
            if (heard.size() < head + size) {
                return;
            }
            // After the command comes the number of the call.
            const auto call = qFromBigEndian<quint32>(heard.constData() + head + 6);
            heard.remove(0, head + size);
            if (left-- <= 0) {
                continue;
            }
            QByteArray words;
            for (quint32 number : {2u, call, 13u}) { // REPLY, and the version or the client.
                words.append('L');
                append(words, number);
            }
            QByteArray packet;
            for (quint32 number : {static_cast<quint32>(words.size()), 0xFFFFFFFFu, 0u, 0u, 0u}) {
                append(packet, number);
            }
            guest->write(packet + words);
        }
    }

    QLocalServer server;
    QByteArray heard;
};

} // namespace

void SilentServersTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(folder->path()).mkpath("pulse"));
    probe = std::make_unique<Probe>();
    probe->environment.insert("PULSE_SERVER", NO_SOUND_SERVER);
    probe->environment.insert("XDG_RUNTIME_DIR", folder->path());
    silent = std::make_unique<QTcpServer>();
    QVERIFY(silent->listen(QHostAddress::LocalHost));
}

bool SilentServersTest::run()
{
    return probe->start("servers") && !probe->answer("ms", 30000).isNull() && probe->waitForEnd();
}

QString SilentServersTest::told(QString text) const
{
    return text.replace("%1", folder->path()).replace("%2", QString::number(silent->serverPort()));
}

bool SilentServersTest::logs(const QString& line)
{
    const QStringList log = probe->platformLog();
    const bool right =
        line.isEmpty() ? log.isEmpty() : log.size() == 1 && log.constFirst().contains(line);
    if (!right) {
        qWarning("It was logged: %s", qPrintable(log.join(" | ")));
    }
    return right;
}

void SilentServersTest::sessionBus_data()
{
    QTest::addColumn<QString>("address"); // %3 stands for that of a living bus.
    QTest::addColumn<bool>("frozen");
    QTest::addColumn<QString>("becomes");
    QTest::addColumn<bool>("isTold");
    QTest::newRow("alive") << "%3" << false << "%3" << false;
    QTest::newRow("frozen") << "%3" << true << NO_BUS << true;
    QTest::newRow("second of two is frozen") << "unix:path=%1/x;%3" << true << NO_BUS << true;
    QTest::newRow("dead") << "unix:path=%1/x" << false << "unix:path=%1/x" << false;
    QTest::newRow("port, silent") << "tcp:host=127.0.0.1,port=%2" << false << NO_BUS << true;
    QTest::newRow("port, nobody") << "tcp:host=127.0.0.1,port=1" << false
                                  << "tcp:host=127.0.0.1,port=1" << false;
    QTest::newRow("not told of") << "" << false << NO_BUS << false;
    QTest::newRow("would be started") << "autolaunch:" << false << NO_BUS << false;
    QTest::newRow("would be started after one that is dead")
        << "unix:path=%1/x;autolaunch:scope=*user" << false << "unix:path=%1/x" << false;
    QTest::newRow("nothing but gaps") << ";;" << false << NO_BUS << false;
    QTest::newRow("nonsense") << "nonsense" << false << "nonsense" << false;
}

void SilentServersTest::sessionBus()
{
    QFETCH(QString, address);
    QFETCH(bool, frozen);
    QFETCH(QString, becomes);
    QFETCH(bool, isTold);
    PrivateBus bus;
    QVERIFY(bus.start());
    if (frozen) {
        bus.freeze();
    }
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS",
                              told(address).replace("%3", bus.address()));
    QVERIFY(run());
    QCOMPARE(probe->all("bus"), QStringList{told(becomes).replace("%3", bus.address())});
    QVERIFY(logs(isTold ? SILENT_SESSION_BUS : QString()));
}

void SilentServersTest::systemBus_data()
{
    QTest::addColumn<QString>("address"); // %3 stands for that of a living bus.
    QTest::addColumn<bool>("frozen");
    QTest::addColumn<QString>("becomes");
    QTest::newRow("alive") << "%3" << false << "%3";
    QTest::newRow("frozen") << "%3" << true << NO_BUS;
    QTest::newRow("port, silent") << "tcp:host=127.0.0.1,port=%2" << false << NO_BUS;
    QTest::newRow("dead") << "unix:path=%1/x" << false << "unix:path=%1/x";
}

void SilentServersTest::systemBus()
{
    QFETCH(QString, address);
    QFETCH(bool, frozen);
    QFETCH(QString, becomes);
    PrivateBus bus;
    QVERIFY(bus.start());
    if (frozen) {
        bus.freeze();
    }
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS",
                              told(address).replace("%3", bus.address()));
    QVERIFY(run());
    QCOMPARE(probe->all("system"), QStringList{told(becomes).replace("%3", bus.address())});
    QVERIFY(logs(becomes == NO_BUS ? SILENT_SYSTEM_BUS : QString()));
}

void SilentServersTest::busThatStopsAfterTheGreeting()
{
    QLocalServer server;
    connect(&server, &QLocalServer::newConnection, &server, [&server] {
        QLocalSocket* guest = server.nextPendingConnection();
        connect(guest, &QLocalSocket::readyRead, guest, [guest] {
            if (guest->readAll().contains("AUTH EXTERNAL")) {
                guest->write("OK 0123456789abcdef0123456789abcdef\r\n");
            }
        });
    });
    QVERIFY(server.listen(folder->filePath("bus")));
    // In its usual place.
    probe->environment.remove("DBUS_SESSION_BUS_ADDRESS");
    QVERIFY(run());
    QCOMPARE(probe->all("bus"), QStringList{NO_BUS});
    QVERIFY(logs(SILENT_SESSION_BUS));
}

void SilentServersTest::bridgeToABusIsEnded()
{
    const QString script = folder->filePath("bridge");
    QVERIFY(writeScript(script, told("#!/bin/sh\necho $$ > %1/pid\nexec sleep 60\n").toUtf8()));
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", "unixexec:path=" + script);
    QVERIFY(run());
    QCOMPARE(probe->all("bus"), QStringList{NO_BUS});
    QVERIFY(logs(SILENT_SESSION_BUS));
    QFile pid(folder->filePath("pid"));
    QVERIFY(pid.open(QIODevice::ReadOnly));
    QFile bridge("/proc/" + pid.readAll().trimmed() + "/cmdline");
    // One that is dead and not yet reaped has no command line.
    QVERIFY(!bridge.open(QIODevice::ReadOnly) || bridge.readAll().isEmpty());
}

void SilentServersTest::soundServer_data()
{
    QTest::addColumn<QString>("address"); // Null for none.
    QTest::addColumn<int>("answers");     // Negative where there is no server.
    QTest::addColumn<bool>("isHidden");
    const int all = 1000;
    QTest::newRow("usual place, answers") << QString() << all << false;
    QTest::newRow("usual place, silent") << QString() << 0 << true;
    QTest::newRow("usual place, stops after the greeting") << QString() << 1 << true;
    QTest::newRow("usual place, nobody") << QString() << -1 << false;
    QTest::newRow("no name, nobody") << "" << -1 << false;
    QTest::newRow("unix:, answers") << "unix:%1/pulse/native" << all << false;
    QTest::newRow("unix:, silent") << "unix:%1/pulse/native" << 0 << true;
    QTest::newRow("path, silent") << "%1/pulse/native" << 0 << true;
    QTest::newRow("another machine's, silent") << "{0123}unix:%1/pulse/native" << 0 << false;
    QTest::newRow("list, second silent") << "unix:%1/x unix:%1/pulse/native" << 0 << true;
    QTest::newRow("list, first silent") << "unix:%1/pulse/native unix:%1/x" << 0 << true;
    QTest::newRow("list, second answers") << "unix:%1/x unix:%1/pulse/native" << all << false;
    QTest::newRow("tcp:, silent") << "tcp:127.0.0.1:%2" << -1 << true;
    QTest::newRow("tcp: with a name, silent") << "tcp:localhost:%2" << -1 << true;
    QTest::newRow("host and port, silent") << "127.0.0.1:%2" << -1 << true;
    QTest::newRow("tcp:, nobody") << "tcp:127.0.0.1:1" << -1 << false;
    QTest::newRow("nonsense") << "{" << -1 << false;
}

void SilentServersTest::soundServer()
{
    QFETCH(QString, address);
    QFETCH(int, answers);
    QFETCH(bool, isHidden);
    if (address.contains("localhost") && QHostInfo::fromName("localhost").addresses().isEmpty()) {
        QSKIP("this machine does not know localhost");
    }
    FakeSoundServer server(answers);
    QVERIFY(answers < 0 || server.listen(folder->filePath("pulse/native")));
    probe->environment.insert("PULSE_SERVER", told(address));
    if (address.isNull()) {
        probe->environment.remove("PULSE_SERVER");
    }
    QVERIFY(run());
    QCOMPARE(probe->all("sound"), QStringList{isHidden ? NO_SOUND_SERVER : told(address)});
    QCOMPARE(probe->all("pipewire"), QStringList{isHidden ? "nonexistent" : ""});
    QCOMPARE(probe->all("silence"), QStringList{isHidden ? "told" : ""});
    QVERIFY(logs(isHidden ? SILENT_SOUND_SERVER : QString()));
}

void SilentServersTest::soundServerOfAFile()
{
    QFile file(folder->filePath("client.conf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(qPrintable(told("default-server = tcp:127.0.0.1:%2\n")));
    file.close();
    probe->environment.remove("PULSE_SERVER");
    probe->environment.insert("PULSE_CLIENTCONFIG", file.fileName());
    QVERIFY(run());
    QCOMPARE(probe->all("sound"), QStringList{NO_SOUND_SERVER});
    QVERIFY(logs(SILENT_SOUND_SERVER));
}

void SilentServersTest::realSoundServer_data()
{
    QTest::addColumn<bool>("frozen");
    QTest::newRow("alive") << false;
    QTest::newRow("frozen") << true;
}

void SilentServersTest::realSoundServer()
{
    QFETCH(bool, frozen);
    if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
        QSKIP("Package pulseaudio is not installed");
    }
    const QString address = told("unix:%1/real");
    QProcess server;
    QVERIFY(startSoundServer(server, folder->filePath("real")));
    if (frozen) {
        ::kill(static_cast<pid_t>(server.processId()), SIGSTOP);
    }
    probe->environment.insert("PULSE_SERVER", address);
    const bool ran = run();
    server.kill();
    server.waitForFinished();
    QVERIFY(ran);
    QCOMPARE(probe->all("sound"), QStringList{frozen ? NO_SOUND_SERVER : address});
    QVERIFY(logs(frozen ? SILENT_SOUND_SERVER : QString()));
}

void SilentServersTest::allAtOnce()
{
    const QString bus = told("tcp:host=127.0.0.1,port=%2");
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", bus);
    probe->environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus);
    probe->environment.insert("PULSE_SERVER", told("tcp:127.0.0.1:%2"));
    QVERIFY(run());
    QCOMPARE(probe->platformLog().size(), 3);
    // They share their time: one after the other they would take three times as long.
    const int ms = probe->all("ms").value(0).toInt();
    QVERIFY2(ms >= 990 && ms < 3000, qPrintable(QString::number(ms)));
}

void SilentServersTest::sessionManagerIsNotLookedFor()
{
    probe->environment.insert("SESSION_MANAGER", "local/here:@/tmp/.ICE-unix/1");
    QVERIFY(run());
    QCOMPARE(probe->all("manager"), QStringList{QString()});
}

QTEST_GUILESS_MAIN(SilentServersTest)
#include "silentserverstest.moc"
