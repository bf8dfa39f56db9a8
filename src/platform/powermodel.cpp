#include "platform/powermodel.h"

#include <QVariant>
#include <QtGlobal>

#include <cmath>

namespace platform {

namespace {

/// Takes over a property that is told and of the type that UPower gives it.
template <typename T>
void take(std::optional<T>& value, const QVariantMap& properties, const char* name)
{
    const QVariant told = properties.value(name);
    if (told.userType() == qMetaTypeId<T>()) {
        value = told.value<T>();
    }
}

} // namespace

void PowerModel::update(const QVariantMap& changed)
{
    take(onBattery, changed, "OnBattery");
    take(present, changed, "IsPresent");
    take(state, changed, "State");
    take(percentage, changed, "Percentage");

    if (present == false) {
        lastLevel = 100;
    }
    // Zero per cent in an unknown state is what UPower says before it has looked.
    const bool looked =
        state.value_or(StateUnknown) != StateUnknown || percentage.value_or(0.0) > 0.0;
    if (present == true && looked && percentage && std::isfinite(*percentage)) {
        lastLevel = static_cast<int>(std::lround(qBound(0.0, *percentage, 100.0)));
    }
}

void PowerModel::forget()
{
    onBattery.reset();
    present.reset();
    state.reset();
    percentage.reset();
}

int PowerModel::level() const
{
    return lastLevel;
}

PowerModel::Power PowerModel::power() const
{
    if (present == false) {
        return onBattery == true ? Contradictory : OnWall;
    }
    switch (present ? state.value_or(StateUnknown) : StateUnknown) {
    case StateUnknown:
        return !onBattery ? Unknown : *onBattery ? OnBattery : OnWall;
    case Charging:
        return onBattery == true ? Contradictory : OnWallCharging;
    case FullyCharged:
        return onBattery == true ? Contradictory : OnWall;
    case PendingCharge:
        return onBattery == true ? OnBattery : OnWall;
    case Discharging:
    case Empty:
    case PendingDischarge:
        // A weak charger, or a limit on charging, lets a battery run down on the wall.
        return onBattery == false ? OnWall : OnBattery;
    }
    return Contradictory;
}

} // namespace platform
