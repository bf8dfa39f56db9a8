#pragma once

#include <QObject>

class QDBusPendingCallWatcher;

namespace QtMobility {

/// Holds the screen saver off, through org.freedesktop.ScreenSaver on the session bus.
/// The inhibition is lifted on destruction, and by the service when this process dies.
class QSystemScreenSaver : public QObject
{
    Q_OBJECT

public:
    explicit QSystemScreenSaver(QObject* parent = nullptr);
    ~QSystemScreenSaver() override;

    /// Asks for the inhibition and returns at once: false where there is no session bus to ask.
    /// A second call while the first is in force changes nothing.
    bool setScreenSaverInhibit();

    /// True once the service has granted the inhibition.
    bool screenSaverInhibited() const;

private slots:
    void inhibitAnswered(QDBusPendingCallWatcher* watcher);

private:
    bool asked;
    bool granted;
    unsigned int cookie; ///< The service's name for our inhibition; valid when granted.
};

} // namespace QtMobility
