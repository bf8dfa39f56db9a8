#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

class QDBusPendingCallWatcher;

namespace QtMobility {

/// Holds the screen saver off, through org.freedesktop.ScreenSaver on the session bus, or through
/// the desktop portal where there is no such service, as on some phones.
/// The inhibition is lifted on destruction, and by the service when this process dies.
class QSystemScreenSaver : public QObject
{
    Q_OBJECT

public:
    explicit QSystemScreenSaver(QObject* parent = nullptr);
    ~QSystemScreenSaver() override;

    /// Asks for the inhibition and returns at once: false where there is no session bus to ask. A
    /// second call while the first is in force changes nothing.
    bool setScreenSaverInhibit();

    /// True once a service has granted the inhibition.
    bool screenSaverInhibited() const;

private:
    void askService();
    void serviceAnswered(QDBusPendingCallWatcher* watcher);
    void askPortal();
    void portalAnswered(QDBusPendingCallWatcher* watcher);

    QDBusConnection bus;
    bool asked = false;
    QDBusMessage lift; ///< The call that ends the inhibition; invalid while there is none.
    QString refusal;   ///< Why the service did not grant it.
};

} // namespace QtMobility
