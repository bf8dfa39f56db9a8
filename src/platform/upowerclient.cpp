#include "platform/upowerclient.h"

#include "platform/busconnection.h"
#include "platform/polling.h"
#include "platform/servicelog.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>

namespace platform {

namespace {

const char UPOWER[] = "org.freedesktop.UPower";
const char PROPERTIES[] = "org.freedesktop.DBus.Properties";

/// What is asked: the manager, and the device that stands for all batteries.
const struct
{
    const char* path;
    const char* interface;
} OBJECTS[] = {
    {"/org/freedesktop/UPower", "org.freedesktop.UPower"},
    {"/org/freedesktop/UPower/devices/DisplayDevice", "org.freedesktop.UPower.Device"},
};

const int FIRST_ANSWERS_MS = 200;

/// How long an answer may be under way. A machine that boots is slow to start its services.
const int LATE_ANSWER_MS = 25000;

QDBusMessage question(const char* path, const char* interface)
{
    QDBusMessage call = QDBusMessage::createMethodCall(UPOWER, path, PROPERTIES, "GetAll");
    call << interface;
    return call;
}

} // namespace

UPowerClient::UPowerClient(QObject* parent) : QObject(parent), bus(systemBus())
{
    if (!bus.isConnected()) {
        qCWarning(lcPlatform, "No system bus: battery and power are unknown");
        return;
    }
    auto* watcher =
        new QDBusServiceWatcher(UPOWER, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &UPowerClient::ownerChanged);
    for (const auto& object : OBJECTS) {
        bus.connect(UPOWER, object.path, PROPERTIES, "PropertiesChanged", this,
                    SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    }
    askAtOnce();
}

int UPowerClient::level() const
{
    return model.level();
}

PowerModel::Power UPowerClient::power() const
{
    return model.power();
}

void UPowerClient::ownerChanged(const QString&, const QString&, const QString& now)
{
    if (now.isEmpty()) {
        model.forget();
        qCWarning(lcPlatform, "UPower is gone: the power is unknown until it is back");
    } else {
        ask();
    }
}

void UPowerClient::propertiesChanged(const QString&, const QVariantMap& changed,
                                     const QStringList& invalidated)
{
    take(changed);
    if (!invalidated.isEmpty()) {
        ask();
    }
}

/// What is late is asked for once more, for later.
void UPowerClient::askAtOnce()
{
    const QDeadlineTimer deadline(FIRST_ANSWERS_MS, Qt::PreciseTimer);
    bool isAll = true;
    for (const auto& object : OBJECTS) {
        // Without the event loop: nothing else may happen while the show is built.
        const QDBusMessage answer =
            bus.call(question(object.path, object.interface), QDBus::Block, remainingMs(deadline));
        isAll = hear(QDBusPendingCall::fromCompletedCall(answer)) && isAll;
    }
    if (!isAll) {
        ask();
    }
}

void UPowerClient::ask()
{
    for (const auto& object : OBJECTS) {
        auto* watcher = new QDBusPendingCallWatcher(
            bus.asyncCall(question(object.path, object.interface), LATE_ANSWER_MS), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, &UPowerClient::answered);
    }
}

void UPowerClient::answered(QDBusPendingCallWatcher* watcher)
{
    hear(*watcher);
    watcher->deleteLater();
}

bool UPowerClient::hear(const QDBusPendingReply<QVariantMap>& answer)
{
    if (!answer.isError()) {
        take(answer.value());
    } else if (!hasMissed) {
        hasMissed = true;
        qCWarning(lcPlatform, "UPower does not tell all of battery and power (%s)",
                  qUtf8Printable(answer.error().message()));
    }
    return !answer.isError();
}

void UPowerClient::take(const QVariantMap& properties)
{
    const int before = model.level();
    model.update(properties);
    if (model.level() != before) {
        emit levelChanged(model.level());
    }
}

} // namespace platform
