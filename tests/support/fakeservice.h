#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>

#include <functional>

/// A service on a bus that a test answers for. It answers while the test runs the event loop.
class FakeService : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// Answers a call, or leaves it without any answer by an invalid message.
    using Answer = std::function<QDBusMessage(const QDBusMessage&)>;

    FakeService(const QDBusConnection& bus, const QString& name, Answer answer);
    /// Gives the name back.
    ~FakeService() override;

    /// "member argument argument…" of each call so far; arguments that are no plain text or number
    /// are left out.
    QStringList calls() const;
    /// Who sent the newest call.
    QString caller() const;

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QDBusConnection bus;
    QString name;
    Answer answer;
    QStringList seen;
    QString sender;
};
