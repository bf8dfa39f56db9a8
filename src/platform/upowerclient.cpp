#include "platform/upowerclient.h"

#include "platform/busconnection.h"
#include "platform/servicelog.h"

#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QThread>

namespace platform {

namespace {

const QString UPOWER("org.freedesktop.UPower");
const QString MANAGER_PATH("/org/freedesktop/UPower");
const QString DEVICES_FOLDER("/org/freedesktop/UPower/devices/");
const QString MANAGER("org.freedesktop.UPower");
const QString DEVICE("org.freedesktop.UPower.Device");
const QString PROPERTIES("org.freedesktop.DBus.Properties");

const int FIRST_ANSWERS_MS = 200;

/// How long an answer may be under way. A machine that boots is slow to start its services.
const int LATE_ANSWER_MS = 25000;

} // namespace

UPowerClient::UPowerClient(QObject* parent)
    : QObject(parent), bus(systemBus()), toldLevel(model.level()), hasMissed(false)
{
    if (!bus.isConnected()) {
        qCWarning(lcPlatform, "No system bus: battery and power are unknown");
        return;
    }
    auto* watcher =
        new QDBusServiceWatcher(UPOWER, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &UPowerClient::ownerChanged);

    bus.connect(UPOWER, QString(), PROPERTIES, "PropertiesChanged", this,
                SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
    bus.connect(UPOWER, MANAGER_PATH, MANAGER, "DeviceAdded", this, SLOT(refresh()));
    bus.connect(UPOWER, MANAGER_PATH, MANAGER, "DeviceRemoved", this,
                SLOT(deviceRemoved(QDBusMessage)));
    // Releases before 0.99 told changes in these ways.
    bus.connect(UPOWER, MANAGER_PATH, MANAGER, "DeviceChanged", this, SLOT(refresh()));
    bus.connect(UPOWER, MANAGER_PATH, MANAGER, "Changed", this, SLOT(refresh()));

    refresh();
    awaitAnswers(QDeadlineTimer(FIRST_ANSWERS_MS, Qt::PreciseTimer));
    if (!underWay.isEmpty()) {
        hasMissed = true;
        qCWarning(lcPlatform, "UPower is slow to answer: going on without it");
    }
    toldLevel = model.level();
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
    // Whoever owns the name now may know of other devices.
    model.forget();
    if (now.isEmpty()) {
        qCWarning(lcPlatform, "UPower is gone: the power is unknown until it is back");
    } else {
        refresh();
    }
}

void UPowerClient::propertiesChanged(const QString&, const QVariantMap& changed,
                                     const QStringList& invalidated, const QDBusMessage& message)
{
    take(message.path(), changed);
    if (!invalidated.isEmpty()) {
        refresh();
    }
}

void UPowerClient::deviceRemoved(const QDBusMessage& message)
{
    const QVariant path = message.arguments().value(0);
    model.removeDevice(path.canConvert<QDBusObjectPath>() ? path.value<QDBusObjectPath>().path()
                                                          : path.toString());
    tellLevel();
}

void UPowerClient::refresh()
{
    askProperties(MANAGER_PATH, MANAGER);
    askProperties(PowerModel::DISPLAY_DEVICE, DEVICE);
}

void UPowerClient::askProperties(const QString& path, const QString& interface)
{
    QDBusMessage call = QDBusMessage::createMethodCall(UPOWER, path, PROPERTIES, "GetAll");
    call << interface;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, LATE_ANSWER_MS), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this,
        [this, path](QDBusPendingCallWatcher* answered) { propertiesAnswered(path, answered); });
    track(watcher);
}

void UPowerClient::askDevices()
{
    const QDBusMessage call =
        QDBusMessage::createMethodCall(UPOWER, MANAGER_PATH, MANAGER, "EnumerateDevices");
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, LATE_ANSWER_MS), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &UPowerClient::devicesAnswered);
    track(watcher);
}

void UPowerClient::propertiesAnswered(const QString& path, QDBusPendingCallWatcher* watcher)
{
    untrack(watcher);
    const QDBusPendingReply<QVariantMap> reply = *watcher;
    if (!reply.isError() && !reply.value().isEmpty()) {
        take(path, reply.value());
        return;
    }
    if (reply.error().type() == QDBusError::ServiceUnknown ||
        reply.error().type() == QDBusError::NoReply) {
        if (!hasMissed) {
            hasMissed = true;
            qCWarning(lcPlatform, "No UPower: battery and power are unknown (%s)",
                      qUtf8Printable(reply.error().message()));
        }
    } else if (path == PowerModel::DISPLAY_DEVICE) {
        askDevices();
    }
}

void UPowerClient::devicesAnswered(QDBusPendingCallWatcher* watcher)
{
    untrack(watcher);
    const QDBusPendingReply<QList<QDBusObjectPath>> reply = *watcher;
    if (reply.isError()) {
        qCWarning(lcPlatform, "UPower does not tell its devices (%s)",
                  qUtf8Printable(reply.error().message()));
        return;
    }
    for (const QDBusObjectPath& device : reply.value()) {
        askProperties(device.path(), DEVICE);
    }
}

/// Takes what comes until nothing is under way. The event loop is not run for it: nothing else may
/// happen while the show is built.
void UPowerClient::awaitAnswers(const QDeadlineTimer& deadline)
{
    while (!underWay.isEmpty() && !deadline.hasExpired()) {
        const QList<QDBusPendingCallWatcher*> watchers = underWay;
        for (QDBusPendingCallWatcher* watcher : watchers) {
            if (watcher->isFinished()) {
                watcher->waitForFinished(); // Waits no more, and lets it tell.
            }
        }
        if (!underWay.isEmpty()) {
            QThread::msleep(1);
        }
    }
}

void UPowerClient::track(QDBusPendingCallWatcher* watcher)
{
    underWay.append(watcher);
}

void UPowerClient::untrack(QDBusPendingCallWatcher* watcher)
{
    underWay.removeAll(watcher);
    watcher->deleteLater();
}

void UPowerClient::take(const QString& path, const QVariantMap& properties)
{
    if (path == MANAGER_PATH) {
        model.setManager(properties);
    } else if (path.startsWith(DEVICES_FOLDER)) {
        model.setDevice(path, properties);
    }
    tellLevel();
}

void UPowerClient::tellLevel()
{
    if (model.level() != toldLevel) {
        toldLevel = model.level();
        emit levelChanged(toldLevel);
    }
}

} // namespace platform
