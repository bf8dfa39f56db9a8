#include "platform/polling.h"

#include <QDeadlineTimer>
#include <QThread>

namespace platform {

bool pollUntil(const QDeadlineTimer& deadline, const std::function<bool()>& look)
{
    while (!deadline.hasExpired()) {
        if (look()) {
            return true;
        }
        QThread::msleep(1);
    }
    return false;
}

int remainingMs(const QDeadlineTimer& deadline)
{
    return qMax(1, static_cast<int>(deadline.remainingTime()));
}

} // namespace platform
