#pragma once

#include <QVariantMap>

#include <optional>

namespace platform {

/// What UPower's properties mean: a battery level and a power state. It only reckons; the
/// properties come from UPowerClient.
///
/// News may come in parts. Until it is clear whether there is a battery, and what it does, level
/// and power stay what they were.
class PowerModel
{
public:
    /// As QSystemDeviceInfo counts them.
    enum Power { Unknown = 0, OnBattery = 1, OnWall = 2, OnWallCharging = 3, Contradictory = 4 };

    /// Takes over what is told of the manager (OnBattery), and of the device that stands for all
    /// batteries (IsPresent, State, Percentage); `changed` may hold a part of it only, and more
    /// than that. Values of a wrong type count as not told.
    void update(const QVariantMap& changed);
    /// UPower is gone: nothing is known any more but the level.
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

    std::optional<bool> onBattery;
    std::optional<bool> present;
    std::optional<unsigned int> state;
    std::optional<double> percentage;
    int lastLevel = 100;
};

} // namespace platform
