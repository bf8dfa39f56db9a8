#include "platform/qsystemscreensaver.h"

#include "platform/busconnection.h"
#include "platform/servicelog.h"

#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace QtMobility {

namespace {

/// Long for a service that has to be started first, and short enough to ask the portal after it.
const int ANSWER_MS = 5000;

const unsigned int INHIBIT_IDLE = 8; ///< The portal's flag for a session that must not go idle.

QDBusMessage screenSaverCall(const char* method)
{
    return QDBusMessage::createMethodCall("org.freedesktop.ScreenSaver",
                                          "/org/freedesktop/ScreenSaver",
                                          "org.freedesktop.ScreenSaver", method);
}

QDBusMessage portalCall(const QString& path, const char* interface, const char* method)
{
    return QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop", path, interface,
                                          method);
}

QString reason()
{
    return QStringLiteral("The show is playing");
}

} // namespace

QSystemScreenSaver::QSystemScreenSaver(QObject* parent) : QObject(parent), bus(QString()) {}

QSystemScreenSaver::~QSystemScreenSaver()
{
    // An answer that is still under way needs no care: our death lifts what it grants.
    if (screenSaverInhibited()) {
        bus.send(lift);
    }
}

bool QSystemScreenSaver::setScreenSaverInhibit()
{
    if (asked) {
        return true;
    }
    bus = platform::sessionBus();
    // Without a connection the answer to a call would never come.
    if (!bus.isConnected()) {
        qCWarning(lcPlatform, "No session bus: the screen may blank during the show");
        return false;
    }
    asked = true;
    askService();
    return true;
}

bool QSystemScreenSaver::screenSaverInhibited() const
{
    return lift.type() == QDBusMessage::MethodCallMessage;
}

void QSystemScreenSaver::askService()
{
    QDBusMessage call = screenSaverCall("Inhibit");
    call << QCoreApplication::applicationName() << reason();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, ANSWER_MS), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            &QSystemScreenSaver::serviceAnswered);
}

void QSystemScreenSaver::askPortal()
{
    QDBusMessage call =
        portalCall("/org/freedesktop/portal/desktop", "org.freedesktop.portal.Inhibit", "Inhibit");
    const QString noWindow;
    call << noWindow << INHIBIT_IDLE << QVariantMap{{"reason", reason()}};
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, ANSWER_MS), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &QSystemScreenSaver::portalAnswered);
}

void QSystemScreenSaver::serviceAnswered(QDBusPendingCallWatcher* watcher)
{
    const QDBusPendingReply<unsigned int> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError()) {
        refusal = reply.error().message();
        askPortal();
        return;
    }
    lift = screenSaverCall("UnInhibit");
    lift << reply.value();
}

void QSystemScreenSaver::portalAnswered(QDBusPendingCallWatcher* watcher)
{
    const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError()) {
        asked = false;
        qCWarning(lcPlatform,
                  "Neither a screen saver service nor the portal: the screen may blank during the "
                  "show (%s; %s)",
                  qUtf8Printable(refusal), qUtf8Printable(reply.error().message()));
        return;
    }
    lift = portalCall(reply.value().path(), "org.freedesktop.portal.Request", "Close");
}

} // namespace QtMobility
