#include "platform/busconnection.h"

#include <QByteArray>
#include <QDBusArgument>
#include <QFileInfo>
#include <QList>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

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

/// Connects to a socket by its name, which begins with a NUL for one outside the file system.
bool connectSocket(int socketFd, const QByteArray& name)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || name.size() >= static_cast<int>(sizeof(address.sun_path))) {
        return false;
    }
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    const size_t length = offsetof(sockaddr_un, sun_path) + static_cast<size_t>(name.size()) +
                          (name.at(0) == '\0' ? 0 : 1);
    return ::connect(socketFd, reinterpret_cast<const sockaddr*>(&address),
                     static_cast<socklen_t>(length)) == 0;
}

/// Knocks: says the first words of the bus protocol and waits for any answer to them.
bool answers(int socketFd)
{
    const QByteArray user = QByteArray::number(::getuid()).toHex();
    const QByteArray hello = QByteArray(1, '\0') + "AUTH EXTERNAL " + user + "\r\n";
    if (::send(socketFd, hello.constData(), static_cast<size_t>(hello.size()), MSG_NOSIGNAL) !=
        hello.size()) {
        return false;
    }
    pollfd waiting = {socketFd, POLLIN, 0};
    char answer = 0;
    return ::poll(&waiting, 1, SIGN_OF_LIFE_MS) == 1 && ::recv(socketFd, &answer, 1, 0) == 1;
}

/// Whether a daemon lives behind one of the addresses. The bus library would wait 25 s for one
/// that is frozen, and no call of it takes another limit.
bool isAlive(const QByteArray& addresses)
{
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
        const int socketFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (socketFd < 0) {
            return false;
        }
        const bool alive = connectSocket(socketFd, name) && answers(socketFd);
        ::close(socketFd);
        if (alive) {
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

QDBusConnection sessionBus()
{
    static const bool alive = isAlive(sessionBusAddress());
    return alive ? QDBusConnection::sessionBus() : noBus();
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
