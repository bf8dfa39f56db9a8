#include "platform/qsystemdeviceinfo.h"

#include "platform/machineidentity.h"
#include "platform/modemidentity.h"
#include "platform/upowerclient.h"

#include <optional>

namespace QtMobility {

struct QSystemDeviceInfo::Private
{
    const platform::ModemIdentity& askedModem()
    {
        if (!modem) {
            modem.emplace();
        }
        return *modem;
    }

    platform::UPowerClient power;
    platform::MachineIdentity machine;
    std::optional<platform::ModemIdentity> modem; ///< Not before somebody asks for it.
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
    return d->machine.manufacturer();
}

QString QSystemDeviceInfo::model() const
{
    return d->machine.model();
}

QString QSystemDeviceInfo::productName() const
{
    return d->machine.productName();
}

QString QSystemDeviceInfo::imei() const
{
    return d->askedModem().imei();
}

QString QSystemDeviceInfo::imsi() const
{
    return d->askedModem().imsi();
}

} // namespace QtMobility
