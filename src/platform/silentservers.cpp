#include "platform/silentservers.h"

#include "platform/inquiry.h"
#include "platform/servicelog.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QFile>

#include <pulse/context.h>
#include <pulse/mainloop.h>

#include <memory>

namespace platform {

namespace {

const char SESSION_BUS[] = "DBUS_SESSION_BUS_ADDRESS";
const char SYSTEM_BUS[] = "DBUS_SYSTEM_BUS_ADDRESS";
const char SOUND_SERVER[] = "PULSE_SERVER";
/// What hangs may be PipeWire behind the server, and ALSA leads player and voice there as well.
const char PIPEWIRE[] = "PIPEWIRE_REMOTE";

const char NO_BUS[] = "unix:path=/nonexistent";
const char NO_SOUND_SERVER[] = "unix:/nonexistent";
const char NO_PIPEWIRE[] = "nonexistent";

/// Long enough for a server that is started by its first guest, on a busy machine. Short enough
/// that with all that may come after it (0.9 s for an address book, 0.35 s for the power and the
/// modem) the first frame is there within three seconds.
const int ANSWER_MS = 1000;

/// The session's bus, told or in its usual place. By an address of the kind "autolaunch" the bus
/// library would start a bus of its own.
QByteArray sessionBusAddress()
{
    QByteArray address;
    for (const QByteArray& told : qgetenv(SESSION_BUS).split(';')) {
        if (!told.isEmpty() && !told.startsWith("autolaunch:")) {
            address += (address.isEmpty() ? "" : ";") + told;
        }
    }
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray usual = runtime + "/bus";
    if (qEnvironmentVariableIsEmpty(SESSION_BUS) && !runtime.isEmpty() &&
        QFile::exists(QFile::decodeName(usual))) {
        address = "unix:path=" + usual.toPercentEncoding("/", "~");
    }
    return address.isEmpty() ? NO_BUS : address;
}

void askBus(QDBusConnection::BusType type)
{
    QDBusConnection::connectToBus(type, "question");
}

/// Finds the server as the player will, by the library's own rules, but starts none.
void askSoundServer()
{
    const std::unique_ptr<pa_mainloop, decltype(&pa_mainloop_free)> loop(pa_mainloop_new(),
                                                                         pa_mainloop_free);
    const std::unique_ptr<pa_context, decltype(&pa_context_unref)> context(
        pa_context_new(pa_mainloop_get_api(loop.get()), "pixmoth"), pa_context_unref);
    pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    while (PA_CONTEXT_IS_GOOD(pa_context_get_state(context.get())) &&
           pa_context_get_state(context.get()) != PA_CONTEXT_READY) {
        pa_mainloop_iterate(loop.get(), 1, nullptr);
    }
}

} // namespace

void avoidSilentServers()
{
    // The toolkit would wait for it as well, and a show has nothing to save when a session ends.
    qunsetenv("SESSION_MANAGER");
    qputenv(SESSION_BUS, sessionBusAddress());

    const QDeadlineTimer deadline(ANSWER_MS, Qt::PreciseTimer);
    const Inquiry sessionBus([] { askBus(QDBusConnection::SessionBus); });
    const Inquiry systemBus([] { askBus(QDBusConnection::SystemBus); });
    const Inquiry soundServer(askSoundServer);
    if (!sessionBus.isOverBy(deadline)) {
        qCWarning(lcPlatform, "The session bus does not answer: going on without it");
        qputenv(SESSION_BUS, NO_BUS);
    }
    if (!systemBus.isOverBy(deadline)) {
        qCWarning(lcPlatform, "The system bus does not answer: going on without it");
        qputenv(SYSTEM_BUS, NO_BUS);
    }
    if (!soundServer.isOverBy(deadline)) {
        noteNoSound();
        qCWarning(lcPlatform, "No sound: the sound server does not answer");
        qputenv(SOUND_SERVER, NO_SOUND_SERVER);
        qputenv(PIPEWIRE, NO_PIPEWIRE);
    }
}

} // namespace platform
