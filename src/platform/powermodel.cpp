#include "platform/powermodel.h"

#include <cmath>

namespace platform {

namespace {

const unsigned int TYPE_BATTERY = 2; ///< UPower's number.

/// A number among the properties, finite.
std::optional<double> number(const QVariantMap& properties, const char* name)
{
    bool isNumber = false;
    const double value = properties.value(name).toDouble(&isNumber);
    return isNumber && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

void merge(QVariantMap& properties, const QVariantMap& changed)
{
    for (auto property = changed.cbegin(); property != changed.cend(); ++property) {
        properties.insert(property.key(), property.value());
    }
}

} // namespace

const char PowerModel::DISPLAY_DEVICE[] = "/org/freedesktop/UPower/devices/DisplayDevice";

PowerModel::PowerModel() : lastLevel(100) {}

void PowerModel::setManager(const QVariantMap& changed)
{
    const QVariant told = changed.value("OnBattery");
    if (told.type() == QVariant::Bool) {
        onBattery = told.toBool();
    }
}

void PowerModel::setDevice(const QString& path, const QVariantMap& changed)
{
    merge(devices[path], changed);
    updateLevel();
}

void PowerModel::removeDevice(const QString& path)
{
    devices.remove(path);
    updateLevel();
}

void PowerModel::forget()
{
    onBattery.reset();
    devices.clear();
}

int PowerModel::level() const
{
    return lastLevel;
}

PowerModel::Power PowerModel::power() const
{
    const std::optional<Battery> known = battery();
    if (!known) {
        return !onBattery ? Unknown : *onBattery ? OnBattery : OnWall;
    }
    if (!known->present) {
        return onBattery.value_or(false) ? Contradictory : OnWall;
    }
    switch (known->state) {
    case StateUnknown:
        return !onBattery ? Unknown : *onBattery ? OnBattery : OnWall;
    case Charging:
        return onBattery.value_or(false) ? Contradictory : OnWallCharging;
    case FullyCharged:
        return onBattery.value_or(false) ? Contradictory : OnWall;
    case PendingCharge:
        return onBattery.value_or(false) ? OnBattery : OnWall;
    case Discharging:
    case Empty:
    case PendingDischarge:
        // A weak charger, or a limit on charging, lets a battery run down on the wall.
        return onBattery.value_or(true) ? OnBattery : OnWall;
    }
    return Contradictory;
}

std::optional<PowerModel::Battery> PowerModel::battery() const
{
    if (devices.isEmpty()) {
        return std::nullopt;
    }
    if (!devices.contains(DISPLAY_DEVICE)) {
        return sumOfBatteries();
    }
    const QVariantMap& display = devices[DISPLAY_DEVICE];
    if (!display.contains("IsPresent")) {
        return std::nullopt;
    }
    Battery battery;
    battery.present = display.value("IsPresent").toBool();
    battery.state = display.value("State").toUInt();
    battery.percentage = number(display, "Percentage");
    return battery;
}

PowerModel::Battery PowerModel::sumOfBatteries() const
{
    Battery sum;
    double energy = 0.0;
    double fullEnergy = 0.0;
    double percentages = 0.0;
    int count = 0;
    int charging = 0;
    int discharging = 0;
    for (const QVariantMap& device : devices) {
        // A mouse has a battery too, but does not feed the machine.
        if (device.value("Type").toUInt() != TYPE_BATTERY ||
            !device.value("PowerSupply").toBool() || !device.value("IsPresent").toBool()) {
            continue;
        }
        const unsigned int state = device.value("State").toUInt();
        count += 1;
        charging += state == Charging ? 1 : 0;
        discharging += state == Discharging ? 1 : 0;
        sum.state = count == 1 || sum.state == state ? state : StateUnknown;
        energy += number(device, "Energy").value_or(0.0);
        fullEnergy += number(device, "EnergyFull").value_or(0.0);
        percentages += number(device, "Percentage").value_or(0.0);
    }
    if (count == 0) {
        return sum;
    }
    sum.present = true;
    // One battery charges after the other, and they are drained in turn.
    sum.state = charging > 0 ? Charging : discharging > 0 ? Discharging : sum.state;
    sum.percentage = fullEnergy > 0.0 ? 100.0 * energy / fullEnergy : percentages / count;
    return sum;
}

void PowerModel::updateLevel()
{
    const std::optional<Battery> known = battery();
    if (!known) {
        return;
    }
    if (!known->present) {
        lastLevel = 100;
        return;
    }
    // Zero per cent in an unknown state is what UPower says before it has looked.
    const bool looked = known->state != StateUnknown || known->percentage.value_or(0.0) > 0.0;
    if (known->percentage && looked) {
        lastLevel = static_cast<int>(std::lround(qBound(0.0, *known->percentage, 100.0)));
    }
}

} // namespace platform
