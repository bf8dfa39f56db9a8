#include "platform/modemidentity.h"

#include "platform/busconnection.h"
#include "platform/polling.h"
#include "platform/servicelog.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QStringList>

namespace platform {

namespace {

const int BUDGET_MS = 150;

const char MODEM_MANAGER[] = "org.freedesktop.ModemManager1";
const char OFONO[] = "org.ofono";

QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    return message;
}

/// Whether an answer is an error that a machine without this service would not give.
bool isTrouble(const QDBusMessage& answer)
{
    const QStringList absence = {"org.freedesktop.DBus.Error.NameHasNoOwner",
                                 "org.freedesktop.DBus.Error.ServiceUnknown"};
    return answer.type() == QDBusMessage::ErrorMessage && !absence.contains(answer.errorName());
}

} // namespace

ModemIdentity::ModemIdentity()
{
    const QDBusConnection bus = systemBus();
    if (bus.isConnected()) {
        askServices(bus, QDeadlineTimer(BUDGET_MS, Qt::PreciseTimer));
    }
}

void ModemIdentity::askServices(const QDBusConnection& bus, const QDeadlineTimer& deadline)
{
    QDBusMessage managerCall = managedObjectsCall(MODEM_MANAGER, "/org/freedesktop/ModemManager1");
    managerCall.setAutoStartService(false);
    const QDBusMessage ofonoCall = call(OFONO, "/", "org.ofono.Manager", "GetModems");

    // Both are asked at once: a service that hangs takes no time from the other.
    const int limit = remainingMs(deadline);
    QDBusPendingCall manager = bus.asyncCall(managerCall, limit);
    QDBusPendingCall ofono = bus.asyncCall(ofonoCall, limit);
    bool managerRead = false;
    bool ofonoRead = false;
    const bool hadTime = pollUntil(deadline, [&] {
        if (!managerRead && manager.isFinished()) {
            managerRead = true;
            readModemManager(bus, manager.reply(), deadline);
        }
        if (!ofonoRead && ofono.isFinished() && imei.isEmpty()) {
            ofonoRead = true;
            readOfono(bus, ofono.reply(), deadline);
        }
        return !imei.isEmpty() || (managerRead && ofonoRead);
    });

    // The numbers themselves are in the show's own lines, and are not repeated here.
    if (imei.isEmpty()) {
        const bool trouble = !hadTime || isTrouble(manager.reply()) || isTrouble(ofono.reply());
        qCInfo(lcPlatform, "No modem: %s",
               trouble ? "its service does not answer" : "neither ModemManager nor oFono has one");
    }
}

void ModemIdentity::readModemManager(const QDBusConnection& bus, const QDBusMessage& modems,
                                     const QDeadlineTimer& deadline)
{
    const ManagedObjects objects = managedObjects(modems);
    for (const auto& interfaces : objects) {
        const QVariantMap modem = interfaces.value("org.freedesktop.ModemManager1.Modem");
        imei = interfaces.value("org.freedesktop.ModemManager1.Modem.Modem3gpp")
                   .value("Imei")
                   .toString();
        if (imei.isEmpty()) {
            imei = modem.value("EquipmentIdentifier").toString();
        }
        if (imei.isEmpty()) {
            continue;
        }
        const QString card = modem.value("Sim").value<QDBusObjectPath>().path();
        if (card.isEmpty() || card == "/") {
            return; // A modem without a card.
        }
        QDBusMessage get = call(MODEM_MANAGER, card, "org.freedesktop.DBus.Properties", "Get");
        get << "org.freedesktop.ModemManager1.Sim"
            << "Imsi";
        const QDBusMessage answer = bus.call(get, QDBus::Block, remainingMs(deadline));
        if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == "v") {
            imsi = answer.arguments().constFirst().value<QDBusVariant>().variant().toString();
        }
        return;
    }
}

void ModemIdentity::readOfono(const QDBusConnection& bus, const QDBusMessage& modems,
                              const QDeadlineTimer& deadline)
{
    if (modems.type() != QDBusMessage::ReplyMessage || modems.signature() != "a(oa{sv})") {
        return;
    }
    const QDBusArgument list = modems.arguments().constFirst().value<QDBusArgument>();
    QString modemPath;
    list.beginArray();
    while (!list.atEnd()) {
        QDBusObjectPath path;
        QVariantMap properties;
        list.beginStructure();
        list >> path >> properties;
        list.endStructure();
        if (imei.isEmpty()) {
            imei = properties.value("Serial").toString();
            modemPath = path.path();
        }
    }
    list.endArray();
    if (imei.isEmpty()) {
        return;
    }
    const QDBusMessage answer =
        bus.call(call(OFONO, modemPath, "org.ofono.SimManager", "GetProperties"), QDBus::Block,
                 remainingMs(deadline));
    if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == "a{sv}") {
        QVariantMap properties;
        answer.arguments().constFirst().value<QDBusArgument>() >> properties;
        imsi = properties.value("SubscriberIdentity").toString();
    }
}

} // namespace platform
