#include "platform/screenchoice.h"

#include <QByteArray>

namespace platform {

void chooseScreen()
{
    const char* choice = "QT_QPA_PLATFORM";
    if (qEnvironmentVariableIsEmpty("DISPLAY") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty(choice)) {
        qputenv(choice, "wayland");
    }
}

} // namespace platform
