#include "support/fakedeviceinfo.h"

#include "platform/qsystemdeviceinfo.h"

namespace {
QtMobility::QSystemDeviceInfo* newest = nullptr;
}

namespace fakedevice {

State& state()
{
    static State current;
    return current;
}

void reset()
{
    const int alive = state().alive;
    state() = State();
    state().alive = alive;
}

void notifyBattery(int level)
{
    state().batteryLevel = level;
    emit newest->batteryLevelChanged(level);
}

} // namespace fakedevice

namespace QtMobility {

using fakedevice::state;

// What the real class keeps is not needed here, but its size.
struct QSystemDeviceInfo::Private
{
};

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent) : QObject(parent)
{
    newest = this;
    state().alive += 1;
}

QSystemDeviceInfo::~QSystemDeviceInfo()
{
    state().alive -= 1;
}

int QSystemDeviceInfo::batteryLevel() const
{
    state().batteryAsked += 1;
    return state().batteryLevel;
}

QSystemDeviceInfo::PowerState QSystemDeviceInfo::currentPowerState() const
{
    state().powerAsked += 1;
    return static_cast<PowerState>(state().powerState);
}

QString QSystemDeviceInfo::manufacturer() const
{
    return state().manufacturer;
}

QString QSystemDeviceInfo::model() const
{
    return state().model;
}

QString QSystemDeviceInfo::productName() const
{
    return state().productName;
}

QString QSystemDeviceInfo::imei() const
{
    return state().imei;
}

QString QSystemDeviceInfo::imsi() const
{
    return state().imsi;
}

} // namespace QtMobility
