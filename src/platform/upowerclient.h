#pragma once

#include "platform/powermodel.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

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
    ~UPowerClient() override;

    /// As PowerModel has them.
    int level() const;
    PowerModel::Power power() const;

signals:
    /// A level that differs from the one before, in percent.
    void levelChanged(int level);

private slots:
    void ownerChanged(const QString& service, const QString& before, const QString& now);
    void managerChanged(const QString& interface, const QVariantMap& changed,
                        const QStringList& invalidated);
    void batteryChanged(const QString& interface, const QVariantMap& changed,
                        const QStringList& invalidated);
    void takeManager(const QVariantMap& properties);
    void takeBattery(const QVariantMap& properties);
    void miss(const QDBusError& error);

private:
    void askAtOnce();
    void ask();

    QDBusConnection bus;
    PowerModel model;
    bool hasMissed = false; ///< The log has told that UPower does not answer.
};

} // namespace platform
