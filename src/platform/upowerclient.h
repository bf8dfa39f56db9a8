#pragma once

#include "platform/powermodel.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace platform {

/// Battery and power, from UPower on the system bus, for as long as it lives.
///
/// Construction waits for UPower's first answer, for 200 ms at most. Everything later comes through
/// the event loop: changes, a late answer, a service that appears, restarts or goes. Without UPower
/// the log says so once, and the power is unknown.
class UPowerClient : public QObject
{
    Q_OBJECT

public:
    explicit UPowerClient(QObject* parent = nullptr);
    ~UPowerClient() override;

    /// As PowerModel has them.
    int level() const;
    PowerModel::Power power() const;

signals:
    /// A level that differs from the one before, in percent.
    void levelChanged(int level);

private slots:
    void ownerChanged(const QString& service, const QString& before, const QString& now);
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated, const QDBusMessage& message);
    void deviceRemoved(const QDBusMessage& message);
    void refresh();

private:
    void askProperties(const QString& path, const QString& interface);
    void askDevices();
    void propertiesAnswered(const QString& path, QDBusPendingCallWatcher* watcher);
    void devicesAnswered(QDBusPendingCallWatcher* watcher);
    void awaitAnswers(const QDeadlineTimer& deadline);
    void track(QDBusPendingCallWatcher* watcher);
    void untrack(QDBusPendingCallWatcher* watcher);
    void take(const QString& path, const QVariantMap& properties);
    void tellLevel();

    QDBusConnection bus;
    PowerModel model;
    QList<QDBusPendingCallWatcher*> underWay; ///< Children of this.
    int toldLevel;
    bool hasMissed; ///< The log has told that UPower is not there.
};

} // namespace platform
