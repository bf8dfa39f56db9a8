#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace QtMobility {

/// What the machine knows of itself: battery and power from UPower, its name from the system's
/// files, the numbers of its modem from the modem's service.
///
/// Construction may wait for UPower, for 200 ms at most, and for the modem's service, for 150 ms;
/// later news comes through the event loop. What is missing has been told when it ends, so that
/// whoever logs the answers has its lines together. Nothing fails where bus or service are missing.
class QSystemDeviceInfo : public QObject
{
    Q_OBJECT

public:
    enum PowerState : int {
        UnknownPower = 0,
        BatteryPower = 1,
        WallPower = 2,
        WallPowerChargingBattery = 3
    };

    explicit QSystemDeviceInfo(QObject* parent = nullptr);
    ~QSystemDeviceInfo() override;

    /// Percent, 0..100: the last known; 100 while none is, and on a machine without a battery.
    int batteryLevel() const;

    /// UnknownPower while UPower tells nothing, WallPower on a machine without a battery, and 4,
    /// none of the enumeration, where what UPower tells contradicts itself.
    PowerState currentPowerState() const;

    /// Who made the machine, what it is called, and its maker's own name for it; empty where no
    /// file says so.
    QString manufacturer() const;
    QString model() const;
    QString productName() const;

    /// Numbers of the modem and of the card in it; empty where there is none.
    QString imei() const;
    QString imsi() const;

signals:
    /// The level in percent; only when it differs from the one before.
    void batteryLevelChanged(int level);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace QtMobility
