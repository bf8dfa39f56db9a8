#include "device/systemstate.h"

#include "platform/qsystemdeviceinfo.h"

#include <QtDebug>

using QtMobility::QSystemDeviceInfo;

struct SystemState::SystemStatePrivate
{
    int batteryLevel = 0;
    std::unique_ptr<QSystemDeviceInfo> deviceInfo;
    QString systemString;
    QString code;
};

namespace {

/// The text is the line; it is passed as a value, since it may hold a percent sign.
void logLine(const QString& text)
{
    qDebug("%s", qUtf8Printable(text));
}

} // namespace

SystemState::SystemState(QObject* parent) : QObject(parent), d(new SystemStatePrivate)
{
    d->deviceInfo = std::make_unique<QSystemDeviceInfo>(nullptr);
    d->batteryLevel = d->deviceInfo->batteryLevel();
    connect(d->deviceInfo.get(), &QSystemDeviceInfo::batteryLevelChanged, this,
            &SystemState::batteryLevelChanged);

    logLine(d->deviceInfo->manufacturer());
    logLine(d->deviceInfo->model());
    logLine(d->deviceInfo->productName());
    logLine(d->deviceInfo->imei());
    logLine(d->deviceInfo->imsi());

    d->systemString = d->deviceInfo->manufacturer();
    d->code = d->deviceInfo->imei();
}

SystemState::~SystemState()
{
    // Its notifications write to the rest, so it goes first.
    d->deviceInfo.reset();
}

int SystemState::batteryLevel()
{
    return d->batteryLevel;
}

QString SystemState::powerState()
{
    switch (d->deviceInfo->currentPowerState()) {
    case QSystemDeviceInfo::UnknownPower:
        return "NULL power";
    case QSystemDeviceInfo::BatteryPower:
        return "battery";
    case QSystemDeviceInfo::WallPower:
    case QSystemDeviceInfo::WallPowerChargingBattery:
        return "wall power";
    }
    return "weird power";
}

QString SystemState::systemString()
{
    return d->systemString;
}

QString SystemState::code()
{
    return d->code;
}

void SystemState::batteryLevelChanged(int level)
{
    qDebug("Battery level: %i", level);
    d->batteryLevel = level;
}
