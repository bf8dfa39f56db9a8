#include "platform/busconnection.h"

#include <QDBusArgument>

namespace platform {

QDBusConnection systemBus()
{
    return QDBusConnection::systemBus();
}

QDBusConnection sessionBus()
{
    return QDBusConnection::sessionBus();
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
