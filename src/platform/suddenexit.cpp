#include "platform/suddenexit.h"

#include <QCoreApplication>

#include <cstdlib>
#include <unistd.h>

namespace platform {

void endOnTheSpotAtSuddenExit()
{
    // Of the handlers of an exit the last one that was entered is called first, and only one that
    // is entered this way is told the code.
    ::on_exit(
        [](int code, void*) {
            if (QCoreApplication::instance()) {
                ::_exit(code);
            }
        },
        nullptr);
}

} // namespace platform
