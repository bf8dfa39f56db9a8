#include "platform/qsystemscreensaver.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcScreenSaver, "pixmoth.platform")

namespace QtMobility {

namespace {

QDBusMessage screenSaverCall(const char* method)
{
    return QDBusMessage::createMethodCall("org.freedesktop.ScreenSaver",
                                          "/org/freedesktop/ScreenSaver",
                                          "org.freedesktop.ScreenSaver", method);
}

} // namespace

QSystemScreenSaver::QSystemScreenSaver(QObject* parent)
    : QObject(parent), asked(false), granted(false), cookie(0)
{
}

QSystemScreenSaver::~QSystemScreenSaver()
{
    // An answer that is still under way needs no care: our death lifts what it grants.
    if (granted) {
        QDBusMessage call = screenSaverCall("UnInhibit");
        call << cookie;
        QDBusConnection::sessionBus().send(call);
    }
}

bool QSystemScreenSaver::setScreenSaverInhibit()
{
    if (asked) {
        return true;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Without a connection the answer to a call would never come.
    if (!bus.isConnected()) {
        qCWarning(lcScreenSaver, "No session bus: the screen may blank during the show");
        return false;
    }
    asked = true;
    QDBusMessage call = screenSaverCall("Inhibit");
    call << QCoreApplication::applicationName() << QStringLiteral("The show is playing");
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            &QSystemScreenSaver::inhibitAnswered);
    return true;
}

bool QSystemScreenSaver::screenSaverInhibited() const
{
    return granted;
}

void QSystemScreenSaver::inhibitAnswered(QDBusPendingCallWatcher* watcher)
{
    const QDBusPendingReply<unsigned int> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError()) {
        asked = false;
        qCWarning(lcScreenSaver,
                  "No screen saver service: the screen may blank during the show "
                  "(%s)",
                  qUtf8Printable(reply.error().message()));
        return;
    }
    granted = true;
    cookie = reply.value();
}

} // namespace QtMobility
