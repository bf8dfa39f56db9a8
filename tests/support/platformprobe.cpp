// Makes use of the platform as the show does, having avoided the silent servers like the show, and
// tells what comes of it, one "word value" a line:
//   platformprobe buses        looks for the buses
//   platformprobe servers      tells what has become of the silent ones
//   platformprobe contacts     reads the address book
//   platformprobe contact      asks for one contact, before all others
//   platformprobe friends      has the show read its friends
//   platformprobe power        watches battery and power; "ask" on standard input asks for both
//   platformprobe identity     reads the numbers of the modem
//   platformprobe inhibit      holds the screen saver off; "ask" asks whether it is, "again" for it
// Those of power and of the screen saver go on until standard input ends.

#include "device/friends.h"
#include "device/systemstate.h"
#include "platform/busconnection.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsystemscreensaver.h"
#include "platform/servicelog.h"
#include "platform/silentservers.h"

#include <QContact>
#include <QContactDetail>
#include <QContactDisplayLabel>
#include <QContactFetchHint>
#include <QContactId>
#include <QContactInvalidFilter>
#include <QContactManager>
#include <QContactSortOrder>
#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QList>
#include <QMap>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <memory>
#include <unistd.h>

QTCONTACTS_USE_NAMESPACE

namespace {

void tell(const char* word, const QString& value)
{
    printf("%s %s\n", word, qUtf8Printable(value));
    fflush(stdout);
}

void tell(const char* word, qint64 value)
{
    tell(word, QString::number(value));
}

/// Calls `onLine` for each line of standard input, and ends the event loop at its end.
class Listener
{
public:
    explicit Listener(std::function<void(const QByteArray&)> onLine)
        : notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this, onLine] {
            char bytes[256];
            const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
            if (count <= 0) {
                notifier.setEnabled(false);
                QCoreApplication::quit();
                return;
            }
            for (const QByteArray& line :
                 QByteArray(bytes, static_cast<int>(count)).trimmed().split('\n')) {
                onLine(line);
            }
        });
    }

private:
    QSocketNotifier notifier;
};

/// Counts the rounds of the event loop.
class LoopCounter
{
public:
    LoopCounter()
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { rounds += 1; });
        timer.start(0);
    }

    int rounds = 0;

private:
    QTimer timer;
};

int buses()
{
    QElapsedTimer timer;
    timer.start();
    tell("session", platform::sessionBus().isConnected() ? 1 : 0);
    tell("ms", timer.elapsed());
    return 0;
}

int servers(qint64 ms)
{
    tell("bus", qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    tell("system", qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"));
    tell("sound", qEnvironmentVariable("PULSE_SERVER"));
    tell("silence", platform::noteNoSound() ? "" : "told");
    tell("pipewire", qEnvironmentVariable("PIPEWIRE_REMOTE"));
    tell("manager", qEnvironmentVariable("SESSION_MANAGER"));
    tell("ms", ms);
    return 0;
}

int contacts()
{
    const LoopCounter loops;
    QElapsedTimer timer;
    timer.start();
    QContactManager manager{QString()};
    const QList<QContact> list = manager.contacts(QList<QContactSortOrder>(), QContactFetchHint());
    QStringList labels;
    for (const QContact& listed : list) {
        const QContact contact = manager.contact(listed.id(), QContactFetchHint());
        labels.append(contact.detail<QContactDisplayLabel>().label());
    }
    tell("ms", timer.elapsed());
    tell("loops", loops.rounds);
    tell("manager", manager.managerName());
    tell("error", manager.error());
    for (int i = 0; i < qMin(labels.size(), 30); ++i) {
        tell("label", labels.at(i));
    }
    tell("count", labels.size());

    // No contact of this book.
    const QContact stranger =
        manager.contact(QContactId(manager.managerUri(), "1000000"), QContactFetchHint());
    tell("stranger", manager.error());
    tell("version", manager.managerVersion());
    QContactSortOrder backwards;
    backwards.setDetailType(QContactDetail::TypeDisplayLabel, QContactDisplayLabel::FieldLabel);
    backwards.setDirection(Qt::DescendingOrder);
    for (const QContactId& id : manager.contactIds({backwards}).mid(0, 30)) {
        const QContact contact = manager.contact(id, QContactFetchHint());
        tell("backwards", contact.detail<QContactDisplayLabel>().label());
    }
    tell("nobody", manager.contactIds(QContactInvalidFilter()).size());
    QContact newcomer;
    tell("saved", manager.saveContact(&newcomer) ? 1 : 0);
    // What the book has sent last would be lost with a process that ends on the spot. The show goes
    // on for long enough; an answer of the bus tells that all before it has gone.
    const QDBusConnection bus = platform::sessionBus();
    bus.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "GetId"),
             QDBus::Block, 500);
    return stranger.isEmpty() ? 0 : 1;
}

int contact()
{
    QContactManager manager{QString()};
    const QContactId first(manager.managerUri(), "0");
    const QContact contact = manager.contact(first, QContactFetchHint());
    tell("label", contact.detail<QContactDisplayLabel>().label());
    return 0;
}

int friends()
{
    QElapsedTimer timer;
    timer.start();
    Friends friends;
    friends.query();
    tell("ms", timer.elapsed());
    for (int i = 0; i < 7; ++i) {
        tell("name", friends.name(i));
    }
    return 0;
}

int power()
{
    auto loops = std::make_unique<LoopCounter>();
    QElapsedTimer timer;
    timer.start();
    SystemState state;
    tell("ms", timer.elapsed());
    tell("loops", loops->rounds);
    loops.reset();
    const auto tellBoth = [&state] {
        tell("level", state.batteryLevel());
        tell("power", state.powerState());
        tell("end", QString());
    };
    tellBoth();
    Listener listener([&](const QByteArray&) { tellBoth(); });
    return QCoreApplication::exec();
}

int identity()
{
    const LoopCounter loops;
    QElapsedTimer timer;
    timer.start();
    QtMobility::QSystemDeviceInfo info;
    tell("imei", "<" + info.imei() + ">");
    tell("imsi", "<" + info.imsi() + ">");
    tell("ms", timer.elapsed());
    tell("loops", loops.rounds);
    timer.restart();
    info.imei();
    info.imsi();
    tell("again", timer.elapsed());
    return 0;
}

int inhibit()
{
    QElapsedTimer timer;
    timer.start();
    QtMobility::QSystemScreenSaver screenSaver;
    tell("asked", screenSaver.setScreenSaverInhibit() ? 1 : 0);
    tell("ms", timer.elapsed());
    tell("twice", screenSaver.setScreenSaverInhibit() ? 1 : 0);
    Listener listener([&](const QByteArray& line) {
        if (line == "again") {
            tell("again", screenSaver.setScreenSaverInhibit() ? 1 : 0);
        } else {
            tell("inhibited", screenSaver.screenSaverInhibited() ? 1 : 0);
            tell("watchers", screenSaver.findChildren<QDBusPendingCallWatcher*>().size());
        }
    });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    qSetMessagePattern("%{category}: %{message}");
    QElapsedTimer timer;
    timer.start();
    platform::avoidSilentServers();
    const qint64 ms = timer.elapsed();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("pixmoth");
    const QString what = application.arguments().value(1);
    if (what == "servers") {
        return servers(ms);
    }
    const QMap<QString, int (*)()> uses = {
        {"buses", buses}, {"contacts", contacts}, {"contact", contact}, {"friends", friends},
        {"power", power}, {"identity", identity}, {"inhibit", inhibit}};
    const auto use = uses.value(what);
    return use ? use() : 2;
}
