#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace platform {

/// What UPower's properties mean: a battery level and a power state. It only reckons; the
/// properties come from UPowerClient.
class PowerModel
{
public:
    /// As QSystemDeviceInfo counts them.
    enum Power { Unknown = 0, OnBattery = 1, OnWall = 2, OnWallCharging = 3, Contradictory = 4 };

    PowerModel();

    /// Takes over what is told of the manager or of the device at `path`; `changed` may hold a part
    /// of the properties only. Values of a wrong type count as not told.
    void setManager(const QVariantMap& changed);
    void setDevice(const QString& path, const QVariantMap& changed);
    void removeDevice(const QString& path);
    /// Nothing is known any more, but the level.
    void forget();

    /// Percent, 0..100. 100 before anything is known and on a machine without a battery; the last
    /// one known while nothing is told.
    int level() const;

    /// Where the power comes from. That is the manager's OnBattery; where that is not told, the
    /// battery's state. Wall power is what a machine without a battery has.
    ///
    /// Contradictory is a battery that charges, or is full, from itself; battery power without a
    /// battery; and a state that is none of UPower's (0..6).
    Power power() const;

    /// Where the device that stands for all batteries is; without it they are summed up here.
    static const char DISPLAY_DEVICE[];

private:
    /// UPower's numbers.
    enum State : unsigned int {
        StateUnknown = 0,
        Charging = 1,
        Discharging = 2,
        Empty = 3,
        FullyCharged = 4,
        PendingCharge = 5,
        PendingDischarge = 6
    };

    /// One battery, or all of them together.
    struct Battery
    {
        bool present = false;
        unsigned int state = StateUnknown;
        std::optional<double> percentage;
    };

    std::optional<Battery> battery() const;
    Battery sumOfBatteries() const;
    void updateLevel();

    std::optional<bool> onBattery;
    QMap<QString, QVariantMap> devices;
    int lastLevel;
};

} // namespace platform
