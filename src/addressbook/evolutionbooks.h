#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDeadlineTimer>
#include <QString>
#include <QStringList>

namespace addressbook {

class VCardReader;

/// The address books of Evolution Data Server, the local one and those of online accounts, as far
/// as they are switched on. Directories of an organisation (LDAP) are left alone: they would be
/// asked over the network, and are not about people whom the owner knows.
///
/// The server is started by the bus where it is installed and not running. It is only read.
class EvolutionBooks
{
public:
    /// For a connected session bus. Asks nothing yet.
    explicit EvolutionBooks(const QDBusConnection& sessionBus);

    /// Gives the vCards of all books that answer by `deadline` to `reader`, each book's as they
    /// come. The answer says what could not be read; it is empty where all went well, also where
    /// there is no such server. Call it once.
    QString read(VCardReader& reader, const QDeadlineTimer& deadline);

private:
    /// A book on its way: opened at the factory, opened itself, read.
    struct Book
    {
        enum Stage { AtFactory, Opening, Reading, Done };

        Stage stage = AtFactory;
        QDBusPendingCall call;
        QString service;
        QString path;
        QString problem;
    };

    void findServer(const QDeadlineTimer& deadline);
    QStringList bookUids(const QDeadlineTimer& deadline);
    void readBooks(const QStringList& uids, VCardReader& reader, const QDeadlineTimer& deadline);
    void advance(Book& book, VCardReader& reader, const QDeadlineTimer& deadline);

    QDBusConnection bus;
    QString sourcesService;
    QString bookService;
    QString trouble; ///< What read() answers.
};

} // namespace addressbook
