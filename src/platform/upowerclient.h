#pragma once

#include "platform/powermodel.h"

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace platform {

/// Battery and power, from UPower (0.99 and later) on the system bus, for as long as it lives.
///
/// Construction waits for UPower's first answers, for 200 ms at most. Everything later comes
/// through the event loop: changes, a late answer, a service that appears, restarts or goes.
/// Without UPower the log says so once, and the power is unknown.
class UPowerClient : public QObject
{
    Q_OBJECT

public:
    explicit UPowerClient(QObject* parent = nullptr);

    /// As PowerModel has them.
    int level() const;
    PowerModel::Power power() const;

signals:
    /// A level that differs from the one before, in percent.
    void levelChanged(int level);

private slots:
    // A slot, because what a service signals can only be connected to by name.
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

private:
    void ownerChanged(const QString& service, const QString& before, const QString& now);
    void askAtOnce();
    void ask();
    void answered(QDBusPendingCallWatcher* watcher);
    /// False for an error.
    bool hear(const QDBusPendingReply<QVariantMap>& answer);
    void take(const QVariantMap& properties);

    QDBusConnection bus;
    PowerModel model;
    bool hasMissed = false; ///< The log has told that UPower does not answer.
};

} // namespace platform
