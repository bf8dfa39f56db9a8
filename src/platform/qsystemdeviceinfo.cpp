#include "platform/qsystemdeviceinfo.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QLoggingCategory>
#include <QSysInfo>

#include <cmath>

Q_LOGGING_CATEGORY(lcDeviceInfo, "pixmoth.platform")

namespace QtMobility {

namespace {

const char UPOWER[] = "org.freedesktop.UPower";
const char UPOWER_PATH[] = "/org/freedesktop/UPower";
const char DEVICE[] = "org.freedesktop.UPower.Device";
const char DISPLAY_DEVICE_PATH[] = "/org/freedesktop/UPower/devices/DisplayDevice";
const char PROPERTIES[] = "org.freedesktop.DBus.Properties";

const int FIRST_ANSWER_MS = 150;
const int LATE_ANSWER_MS = 25000;

const unsigned int CHARGING = 1;

/// The first line of a system file, up to a NUL (device tree strings end with one).
QString firstLine(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    QByteArray line = file.readLine(256);
    const int end = line.indexOf('\0');
    if (end >= 0) {
        line.truncate(end);
    }
    return QString::fromUtf8(line).trimmed();
}

QString firstFilled(const QString& a, const QString& b)
{
    return a.isEmpty() ? b : a;
}

/// "Maker Model" of a device tree, as phones carry it; empty on a PC.
QString deviceTreeModel()
{
    return firstLine("/proc/device-tree/model");
}

} // namespace

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent)
    : QObject(parent), batteryPresent(false), onBattery(false), batteryState(0), percentage(100)
{
    if (!QDBusConnection::systemBus().isConnected()) {
        qCWarning(lcDeviceInfo, "No system bus: taking the battery as full and on the wall");
        return;
    }
    watch(UPOWER_PATH, UPOWER);
    watch(DISPLAY_DEVICE_PATH, DEVICE);
}

QSystemDeviceInfo::~QSystemDeviceInfo() = default;

int QSystemDeviceInfo::batteryLevel() const
{
    return batteryPresent ? percentage : 100;
}

QSystemDeviceInfo::PowerState QSystemDeviceInfo::currentPowerState() const
{
    if (!batteryPresent) {
        return WallPower;
    }
    if (onBattery) {
        return BatteryPower;
    }
    return batteryState == CHARGING ? WallPowerChargingBattery : WallPower;
}

QString QSystemDeviceInfo::manufacturer() const
{
    return firstFilled(firstLine("/sys/class/dmi/id/sys_vendor"),
                       deviceTreeModel().section(' ', 0, 0));
}

QString QSystemDeviceInfo::model() const
{
    return firstFilled(firstLine("/sys/class/dmi/id/product_name"),
                       deviceTreeModel().section(' ', 1));
}

QString QSystemDeviceInfo::productName() const
{
    return firstFilled(firstLine("/sys/class/dmi/id/board_name"), QSysInfo::prettyProductName());
}

QString QSystemDeviceInfo::imei() const
{
    return QString();
}

QString QSystemDeviceInfo::imsi() const
{
    return QString();
}

void QSystemDeviceInfo::watch(const QString& path, const QString& interface)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.connect(UPOWER, path, PROPERTIES, "PropertiesChanged", this,
                SLOT(propertiesChanged(QString, QVariantMap)));

    QDBusMessage getAll = QDBusMessage::createMethodCall(UPOWER, path, PROPERTIES, "GetAll");
    getAll << interface;
    const QDBusMessage answer = bus.call(getAll, QDBus::Block, FIRST_ANSWER_MS);
    const QDBusPendingReply<QVariantMap> reply = QDBusPendingCall::fromCompletedCall(answer);
    if (!reply.isError()) {
        update(reply.value());
        return;
    }
    qCWarning(lcDeviceInfo, "No word from UPower on %s (%s)", qUtf8Printable(path),
              qUtf8Printable(reply.error().message()));
    if (reply.error().type() == QDBusError::NoReply) {
        // It may only be slow, or just starting: its answer is welcome whenever it comes.
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(getAll, LATE_ANSWER_MS), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                &QSystemDeviceInfo::propertiesAnswered);
    }
}

void QSystemDeviceInfo::propertiesAnswered(QDBusPendingCallWatcher* watcher)
{
    const QDBusPendingReply<QVariantMap> reply = *watcher;
    watcher->deleteLater();
    if (!reply.isError()) {
        update(reply.value());
    }
}

void QSystemDeviceInfo::propertiesChanged(const QString&, const QVariantMap& changed)
{
    update(changed);
}

void QSystemDeviceInfo::update(const QVariantMap& properties)
{
    const int before = batteryLevel();
    if (properties.contains("OnBattery")) {
        onBattery = properties.value("OnBattery").toBool();
    }
    if (properties.contains("IsPresent")) {
        batteryPresent = properties.value("IsPresent").toBool();
    }
    if (properties.contains("State")) {
        batteryState = properties.value("State").toUInt();
    }
    if (properties.contains("Percentage")) {
        percentage = qBound(
            0, static_cast<int>(std::lround(properties.value("Percentage").toDouble())), 100);
    }
    if (batteryLevel() != before) {
        emit batteryLevelChanged(batteryLevel());
    }
}

} // namespace QtMobility
