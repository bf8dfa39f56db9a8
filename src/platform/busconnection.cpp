#include "platform/busconnection.h"

#include "platform/knock.h"

#include <QByteArray>
#include <QDBusArgument>
#include <QFileInfo>
#include <QList>

#include <unistd.h>

namespace platform {

namespace {

const int SIGN_OF_LIFE_MS = 100;

/// The value of `key` in one bus address, "unix:path=/run/bus,guid=…"; empty where it is missing.
QByteArray addressValue(const QByteArray& address, const QByteArray& key)
{
    for (const QByteArray& pair : address.mid(address.indexOf(':') + 1).split(',')) {
        if (pair.startsWith(key + '=')) {
            return QByteArray::fromPercentEncoding(pair.mid(key.size() + 1));
        }
    }
    return QByteArray();
}

/// Whether a daemon lives behind one of the addresses. The bus library would wait 25 s for one
/// that is frozen, and no call of it takes another limit.
bool isAlive(const QByteArray& addresses)
{
    // The first words of the bus protocol.
    const QByteArray user = QByteArray::number(::getuid()).toHex();
    const QByteArray hello = QByteArray(1, '\0') + "AUTH EXTERNAL " + user + "\r\n";
    for (const QByteArray& address : addresses.split(';')) {
        if (address.isEmpty()) {
            continue;
        }
        QByteArray name = addressValue(address, "path");
        const QByteArray abstractName = addressValue(address, "abstract");
        if (!abstractName.isEmpty()) {
            name = '\0' + abstractName;
        }
        if (!address.startsWith("unix:") || name.isEmpty()) {
            return true; // Not a kind that can be knocked at here.
        }
        if (knock(name, hello, SIGN_OF_LIFE_MS) == Life::Alive) {
            return true;
        }
    }
    return false;
}

/// Where the session's bus is. Without an answer here the bus library would start a bus of its own,
/// on which none of the session's services are.
QByteArray sessionBusAddress()
{
    const QByteArray told = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!told.isEmpty()) {
        return told;
    }
    const QString usual = qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus";
    return QFileInfo::exists(usual) ? "unix:path=" + usual.toUtf8() : QByteArray();
}

QByteArray systemBusAddress()
{
    const QByteArray told = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    return told.isEmpty() ? "unix:path=/var/run/dbus/system_bus_socket" : told;
}

QDBusConnection noBus()
{
    return QDBusConnection(QString());
}

} // namespace

QDBusConnection systemBus()
{
    static const bool alive = isAlive(systemBusAddress());
    return alive ? QDBusConnection::systemBus() : noBus();
}

bool sessionBusIsAlive()
{
    static const bool alive = isAlive(sessionBusAddress());
    return alive;
}

QDBusConnection sessionBus()
{
    return sessionBusIsAlive() ? QDBusConnection::sessionBus() : noBus();
}

QDBusMessage managedObjectsCall(const QString& service, const QString& path)
{
    return QDBusMessage::createMethodCall(service, path, "org.freedesktop.DBus.ObjectManager",
                                          "GetManagedObjects");
}

ManagedObjects managedObjects(const QDBusMessage& answer)
{
    ManagedObjects objects;
    if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == "a{oa{sa{sv}}}") {
        answer.arguments().constFirst().value<QDBusArgument>() >> objects;
    }
    return objects;
}

} // namespace platform
