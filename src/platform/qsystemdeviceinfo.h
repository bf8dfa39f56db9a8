#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace QtMobility {

/// What the machine knows of itself: battery and power from UPower on the system bus, its identity
/// from the system's files. A machine with no battery hangs on the wall with a full one.
/// Construction may wait for UPower, for 2 × 150 ms at most; later news comes through the event
/// loop. Nothing fails where bus or service are missing.
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

    /// Percent, 0..100.
    int batteryLevel() const;
    PowerState currentPowerState() const;

    /// Who made the machine, what it is called, and its maker's own name for it; empty where no
    /// file says so.
    QString manufacturer() const;
    QString model() const;
    QString productName() const;

    /// Numbers of the modem and its card; empty: no modem is asked.
    QString imei() const;
    QString imsi() const;

signals:
    /// The level in percent; only when it differs from the one before.
    void batteryLevelChanged(int level);

private slots:
    void propertiesChanged(const QString& interface, const QVariantMap& changed);
    void propertiesAnswered(QDBusPendingCallWatcher* watcher);

private:
    void watch(const QString& path, const QString& interface);
    void update(const QVariantMap& properties);

    bool batteryPresent;
    bool onBattery;
    unsigned int batteryState; ///< UPower's number: 0 unknown, 1 charging, 2 discharging, …
    int percentage;
};

} // namespace QtMobility
