#include "support/fakeservice.h"

#include <utility>

FakeService::FakeService(const QDBusConnection& onBus, const QString& withName, Answer withAnswer)
    : bus(onBus), name(withName), answer(std::move(withAnswer))
{
    bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
    bus.registerService(name);
}

FakeService::~FakeService()
{
    bus.unregisterService(name);
    bus.unregisterObject("/", QDBusConnection::UnregisterTree);
}

QStringList FakeService::calls() const
{
    return seen;
}

QString FakeService::caller() const
{
    return sender;
}

QString FakeService::introspect(const QString&) const
{
    return QString();
}

bool FakeService::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    QStringList call = {message.member()};
    for (const QVariant& argument : message.arguments()) {
        if (argument.canConvert<QString>()) {
            call.append(argument.toString());
        }
    }
    seen.append(call.join(' '));
    sender = message.service();
    const QDBusMessage reply = answer(message);
    if (reply.type() != QDBusMessage::InvalidMessage) {
        connection.send(reply);
    }
    return true; // Also without an answer, which Qt would make up otherwise.
}
