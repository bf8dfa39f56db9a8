#include "support/privatebus.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <csignal>

PrivateBus::PrivateBus()
{
    static int number = 0;
    connectionName = QString("private %1").arg(++number);
}

PrivateBus::~PrivateBus()
{
    QDBusConnection::disconnectFromBus(connectionName);
    if (daemon.state() != QProcess::NotRunning) {
        thaw();
        daemon.terminate();
        if (!daemon.waitForFinished(5000)) {
            daemon.kill();
            daemon.waitForFinished();
        }
    }
}

bool PrivateBus::start(const QStringList& serviceFolders, const QProcessEnvironment& environment,
                       const QByteArray& rules)
{
    QByteArray services;
    for (const QString& path : serviceFolders) {
        services += "<servicedir>" + path.toUtf8() + "</servicedir>";
    }
    QFile config(folder.filePath("bus.conf"));
    if (!config.open(QIODevice::WriteOnly)) {
        return false;
    }
    config.write("<busconfig><type>session</type><listen>unix:dir=" + folder.path().toUtf8() +
                 "</listen>" + services +
                 "<policy context=\"default\"><allow send_destination=\"*\"/><allow own=\"*\"/>"
                 "<allow eavesdrop=\"true\"/>" +
                 rules + "</policy></busconfig>");
    config.close();

    daemon.setProcessEnvironment(environment);
    daemon.setStandardErrorFile(QProcess::nullDevice());
    daemon.start("dbus-daemon",
                 {"--nofork", "--print-address=1", "--config-file=" + config.fileName()});
    if (!daemon.waitForStarted() || !daemon.waitForReadyRead(10000)) {
        return false;
    }
    busAddress = QString::fromUtf8(daemon.readLine()).trimmed();
    return connection().isConnected();
}

QString PrivateBus::address() const
{
    return busAddress;
}

QDBusConnection PrivateBus::connection()
{
    return QDBusConnection::connectToBus(busAddress, connectionName);
}

QDBusMessage PrivateBus::call(const QString& service, const QString& path, const QString& interface,
                              const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const int limitMs = 30000; // A busy machine starts a service slowly.
    return connection().call(message, QDBus::Block, limitMs);
}

bool PrivateBus::waitForName(const QString& name)
{
    return QTest::qWaitFor(
        [&] { return connection().interface()->isServiceRegistered(name).value(); }, 10000);
}

qint64 PrivateBus::processOf(const QString& name)
{
    return connection().interface()->servicePid(name).value();
}

void PrivateBus::kill()
{
    daemon.kill();
    daemon.waitForFinished();
}

void PrivateBus::freeze()
{
    ::kill(static_cast<pid_t>(daemon.processId()), SIGSTOP);
}

void PrivateBus::thaw()
{
    ::kill(static_cast<pid_t>(daemon.processId()), SIGCONT);
}
