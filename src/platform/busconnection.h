#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMap>
#include <QString>
#include <QVariantMap>

/// The buses that the show finds its services on. Everything here is for the GUI thread.
namespace platform {

/// The system's and the session's bus; an unconnected one where there is no such bus. A frozen
/// daemon would hold the first call for 25 s: see avoidSilentServers().
QDBusConnection systemBus();
QDBusConnection sessionBus();

/// What an object manager tells of its objects: the properties by interface by path.
using ManagedObjects = QMap<QDBusObjectPath, QMap<QString, QVariantMap>>;

/// The call that asks `service` for the objects under `path`.
QDBusMessage managedObjectsCall(const QString& service, const QString& path);

/// The objects that such a call was answered with; none where the answer is an error or is
/// anything else.
ManagedObjects managedObjects(const QDBusMessage& answer);

} // namespace platform
