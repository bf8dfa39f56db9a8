#pragma once

#include <QString>

namespace QtMobility {
class QSystemDeviceInfo;
}

/// Takes the place of QtMobility::QSystemDeviceInfo in a test binary that links this, so that a
/// test has the battery and the power that it wants.
namespace fakedevice {

struct State
{
    int batteryLevel = 100;
    int powerState = 2; ///< As the enumeration counts; may be outside it.
    QString manufacturer = "Maker";
    QString model = "Model";
    QString productName = "Product";
    QString imei = "IMEI";
    QString imsi = "IMSI";

    int batteryAsked = 0; ///< How often, since reset().
    int powerAsked = 0;
    int alive = 0; ///< Device objects in existence; not reset.
};

State& state();
void reset();

/// Lets the newest device object notify a level, and takes it over.
void notifyBattery(int level);

} // namespace fakedevice
