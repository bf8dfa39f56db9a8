#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

/// A message bus for one test: its own daemon, on which nothing is but what the test puts there.
class PrivateBus
{
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    /// Ends the daemon, frozen or not, and with it the services that it has started.
    ~PrivateBus();

    /// Starts the daemon. It starts services by the files in `serviceFolders`, in `environment`,
    /// and allows everything but what the elements in `rules` deny.
    bool start(const QStringList& serviceFolders = {},
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
               const QByteArray& rules = QByteArray());

    QString address() const;

    /// A connection of the test's own; the same one at each call.
    QDBusConnection connection();

    /// Calls a method and waits for the answer, 10 s at most.
    QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments = {});

    /// True when somebody owns the name; waits for it for 10 s at most.
    bool waitForName(const QString& name);
    /// The process that owns a name; 0 where nobody does.
    qint64 processOf(const QString& name);

    /// Ends the daemon without a word.
    void kill();
    /// Stops the daemon in its tracks, and lets it go on.
    void freeze();
    void thaw();

private:
    QTemporaryDir folder;
    QProcess daemon;
    QString busAddress;
    QString connectionName;
};
