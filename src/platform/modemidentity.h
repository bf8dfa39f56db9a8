#pragma once

#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QString>

class QDBusMessage;

namespace platform {

/// The numbers of the phone's modem (IMEI) and of the card in it (IMSI), as ModemManager or else
/// oFono tells them on the system bus; of the first modem that has an IMEI.
///
/// Both are empty on a machine without a modem, or where the service does not answer within 150 ms.
/// A service that is not running is not started for this.
class ModemIdentity
{
public:
    /// Asks the services, once.
    ModemIdentity();

    QString imei;
    QString imsi;

private:
    void askServices(const QDBusConnection& bus, const QDeadlineTimer& deadline);
    void readModemManager(const QDBusConnection& bus, const QDBusMessage& modems,
                          const QDeadlineTimer& deadline);
    void readOfono(const QDBusConnection& bus, const QDBusMessage& modems,
                   const QDeadlineTimer& deadline);
};

} // namespace platform
