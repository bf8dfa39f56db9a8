#pragma once

#include <QObject>
#include <QString>

#include <memory>

/// How the phone itself is doing: its battery, kept current, and its power source, on demand.
class SystemState : public QObject
{
    Q_OBJECT

public:
    /// Reads the battery and writes the phone's identity to the debug log.
    explicit SystemState(QObject* parent = nullptr);
    ~SystemState() override;

    /// Percent, as last read or notified; whatever the device said, -1 included. Never asks.
    int batteryLevel();

    /// "wall power" (charging or not), "battery", "NULL power" where the device does not know, and
    /// "weird power" for anything else. Asks the device on every call.
    QString powerState();

    /// Reserve, like code(): the device's maker.
    QString systemString();

    /// Reserve: the device's IMEI; empty where there is none.
    QString code();

public slots:
    void batteryLevelChanged(int level);

private:
    struct SystemStatePrivate;
    std::unique_ptr<SystemStatePrivate> d;
};
