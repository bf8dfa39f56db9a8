#include "platform/qsystemdeviceinfo.h"

#include "platform/machineidentity.h"
#include "platform/modemidentity.h"
#include "platform/upowerclient.h"

namespace QtMobility {

struct QSystemDeviceInfo::Private
{
    platform::UPowerClient power;
    const platform::MachineIdentity machine;
    const platform::ModemIdentity modem;
};

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent) : QObject(parent), d(new Private)
{
    connect(&d->power, &platform::UPowerClient::levelChanged, this,
            &QSystemDeviceInfo::batteryLevelChanged);
}

QSystemDeviceInfo::~QSystemDeviceInfo() = default;

int QSystemDeviceInfo::batteryLevel() const
{
    return d->power.level();
}

QSystemDeviceInfo::PowerState QSystemDeviceInfo::currentPowerState() const
{
    return static_cast<PowerState>(d->power.power());
}

QString QSystemDeviceInfo::manufacturer() const
{
    return d->machine.manufacturer;
}

QString QSystemDeviceInfo::model() const
{
    return d->machine.model;
}

QString QSystemDeviceInfo::productName() const
{
    return d->machine.productName;
}

QString QSystemDeviceInfo::imei() const
{
    return d->modem.imei;
}

QString QSystemDeviceInfo::imsi() const
{
    return d->modem.imsi;
}

} // namespace QtMobility
