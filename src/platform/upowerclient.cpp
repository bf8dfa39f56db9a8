#include "platform/upowerclient.h"

#include "platform/busconnection.h"
#include "platform/servicelog.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>

namespace platform {

namespace {

const QString UPOWER("org.freedesktop.UPower");
const QString MANAGER_PATH("/org/freedesktop/UPower");
const QString MANAGER("org.freedesktop.UPower");
const QString PROPERTIES("org.freedesktop.DBus.Properties");

/// The device that stands for all batteries.
const QString BATTERY_PATH("/org/freedesktop/UPower/devices/DisplayDevice");
const QString DEVICE("org.freedesktop.UPower.Device");

const int FIRST_ANSWERS_MS = 200;

/// How long an answer may be under way. A machine that boots is slow to start its services.
const int LATE_ANSWER_MS = 25000;

QDBusMessage question(const QString& path, const QString& interface)
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
    bus.connect(UPOWER, MANAGER_PATH, PROPERTIES, "PropertiesChanged", this,
                SLOT(managerChanged(QString, QVariantMap, QStringList)));
    bus.connect(UPOWER, BATTERY_PATH, PROPERTIES, "PropertiesChanged", this,
                SLOT(batteryChanged(QString, QVariantMap, QStringList)));
    askAtOnce();
}

UPowerClient::~UPowerClient() = default;

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

void UPowerClient::managerChanged(const QString&, const QVariantMap& changed,
                                  const QStringList& invalidated)
{
    takeManager(changed);
    if (!invalidated.isEmpty()) {
        ask();
    }
}

void UPowerClient::batteryChanged(const QString&, const QVariantMap& changed,
                                  const QStringList& invalidated)
{
    takeBattery(changed);
    if (!invalidated.isEmpty()) {
        ask();
    }
}

void UPowerClient::takeManager(const QVariantMap& properties)
{
    model.setManager(properties);
}

void UPowerClient::takeBattery(const QVariantMap& properties)
{
    const int before = model.level();
    model.setBattery(properties);
    if (model.level() != before) {
        emit levelChanged(model.level());
    }
}

void UPowerClient::miss(const QDBusError& error)
{
    if (!hasMissed) {
        hasMissed = true;
        qCWarning(lcPlatform, "UPower does not tell all of battery and power (%s)",
                  qUtf8Printable(error.message()));
    }
}

/// Waits for the answers without the event loop: nothing else may happen while the show is built.
/// What is late is asked for once more, for later.
void UPowerClient::askAtOnce()
{
    const QDeadlineTimer deadline(FIRST_ANSWERS_MS, Qt::PreciseTimer);
    const auto answer = [this, &deadline](const QString& path, const QString& interface) {
        const int limit = qMax(1, static_cast<int>(deadline.remainingTime()));
        return QDBusPendingReply<QVariantMap>(QDBusPendingCall::fromCompletedCall(
            bus.call(question(path, interface), QDBus::Block, limit)));
    };
    const QDBusPendingReply<QVariantMap> manager = answer(MANAGER_PATH, MANAGER);
    const QDBusPendingReply<QVariantMap> battery = answer(BATTERY_PATH, DEVICE);
    takeManager(manager.value());
    takeBattery(battery.value());
    if (manager.isError() || battery.isError()) {
        miss(manager.isError() ? manager.error() : battery.error());
        ask();
    }
}

void UPowerClient::ask()
{
    bus.callWithCallback(question(MANAGER_PATH, MANAGER), this, SLOT(takeManager(QVariantMap)),
                         SLOT(miss(QDBusError)), LATE_ANSWER_MS);
    bus.callWithCallback(question(BATTERY_PATH, DEVICE), this, SLOT(takeBattery(QVariantMap)),
                         SLOT(miss(QDBusError)), LATE_ANSWER_MS);
}

} // namespace platform
