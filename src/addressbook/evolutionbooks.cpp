#include "addressbook/evolutionbooks.h"

#include "addressbook/vcardreader.h"
#include "platform/busconnection.h"
#include "platform/polling.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <vector>

namespace addressbook {

namespace {

const char LOCAL_BOOK[] = "system-address-book";

/// A query is needed; this one is met by every contact.
const char EVERYBODY[] = "(contains \"x-evolution-any-field\" \"\")";

/// An interface or a service of the server.
QString serverName(const QString& name)
{
    return "org.gnome.evolution.dataserver." + name;
}

/// An object of the server.
QString serverPath(const QString& name)
{
    return "/org/gnome/evolution/dataserver/" + name;
}

/// A source of the registry, read from its key file.
struct Source
{
    bool enabled = true;
    QString parent;
    QString addressBookBackEnd; ///< Empty for what is no address book.
};

Source readSource(const QString& data)
{
    Source source;
    QString group;
    bool isAddressBook = false;
    for (const QString& rawLine : data.split('\n')) {
        const QString line = rawLine.trimmed();
        const QString key = line.section('=', 0, 0);
        const QString value = line.section('=', 1);
        if (line.startsWith('[')) {
            group = line;
            isAddressBook = isAddressBook || group == "[Address Book]";
        } else if (group == "[Data Source]" && key == "Enabled") {
            source.enabled = value != "false";
        } else if (group == "[Data Source]" && key == "Parent") {
            source.parent = value;
        } else if (group == "[Address Book]" && key == "BackendName") {
            source.addressBookBackEnd = value;
        }
    }
    if (isAddressBook && source.addressBookBackEnd.isEmpty()) {
        source.addressBookBackEnd = "local";
    }
    return source;
}

/// Whether a source and the accounts that it belongs to are all switched on.
bool isEnabled(const QHash<QString, Source>& sources, QString uid)
{
    QSet<QString> seen;
    while (!uid.isEmpty() && sources.contains(uid) && !seen.contains(uid)) {
        if (!sources[uid].enabled) {
            return false;
        }
        seen.insert(uid);
        uid = sources[uid].parent;
    }
    return true;
}

/// The name that begins so and ends in the highest number: the server's newest interface. Its
/// releases count it up. Empty where there is none.
QString newest(const QStringList& names, const QString& base)
{
    const QRegularExpression numbered("^" + QRegularExpression::escape(serverName(base)) +
                                      "([0-9]{1,6})$");
    QString best;
    int highest = -1;
    for (const QString& name : names) {
        const QRegularExpressionMatch match = numbered.match(name);
        if (match.hasMatch() && match.captured(1).toInt() > highest) {
            highest = match.captured(1).toInt();
            best = name;
        }
    }
    return best;
}

} // namespace

EvolutionBooks::EvolutionBooks(const QDBusConnection& sessionBus) : bus(sessionBus) {}

QString EvolutionBooks::read(VCardReader& reader, const QDeadlineTimer& deadline)
{
    findServer(deadline);
    if (!sourcesService.isEmpty() && !bookService.isEmpty()) {
        readBooks(bookUids(deadline), reader, deadline);
    }
    return trouble;
}

/// Leaves the names of the services empty where the bus knows no such server.
void EvolutionBooks::findServer(const QDeadlineTimer& deadline)
{
    QStringList names;
    for (const char* method : {"ListActivatableNames", "ListNames"}) {
        const QDBusMessage call = QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method);
        const QDBusPendingReply<QStringList> reply = QDBusPendingCall::fromCompletedCall(
            bus.call(call, QDBus::Block, platform::remainingMs(deadline)));
        if (reply.isError()) {
            trouble = "the session bus does not tell its names (" + reply.error().message() + ")";
            return;
        }
        names += reply.value();
    }
    sourcesService = newest(names, "Sources");
    bookService = newest(names, "AddressBook");
}

QStringList EvolutionBooks::bookUids(const QDeadlineTimer& deadline)
{
    const QDBusMessage answer =
        bus.call(platform::managedObjectsCall(sourcesService, serverPath("SourceManager")),
                 QDBus::Block, platform::remainingMs(deadline));
    if (answer.type() == QDBusMessage::ErrorMessage) {
        trouble =
            sourcesService + " does not tell its address books (" + answer.errorMessage() + ")";
        return QStringList();
    }
    QHash<QString, Source> sources;
    const platform::ManagedObjects objects = platform::managedObjects(answer);
    for (const auto& interfaces : objects) {
        const QVariantMap properties = interfaces.value(serverName("Source"));
        const QString uid = properties.value("UID").toString();
        if (!uid.isEmpty()) {
            sources.insert(uid, readSource(properties.value("Data").toString()));
        }
    }
    QStringList uids;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QString& backEnd = source->addressBookBackEnd;
        if (!backEnd.isEmpty() && backEnd != "ldap" && isEnabled(sources, source.key())) {
            uids.append(source.key());
        }
    }
    std::sort(uids.begin(), uids.end(), [](const QString& a, const QString& b) {
        return (a == LOCAL_BOOK) != (b == LOCAL_BOOK) ? a == LOCAL_BOOK : a < b;
    });
    return uids;
}

void EvolutionBooks::readBooks(const QStringList& uids, VCardReader& reader,
                               const QDeadlineTimer& deadline)
{
    std::vector<Book> books;
    for (const QString& uid : uids) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(bookService, serverPath("AddressBookFactory"),
                                           serverName("AddressBookFactory"), "OpenAddressBook");
        call << uid;
        books.push_back({Book::AtFactory, bus.asyncCall(call, platform::remainingMs(deadline)),
                         QString(), QString(), QString()});
    }

    // All books move at once, so that one with a slow account does not hold up the others.
    const auto isOnItsWay = [](const Book& book) { return book.stage != Book::Done; };
    platform::pollUntil(deadline, [&] {
        for (Book& book : books) {
            if (isOnItsWay(book) && book.call.isFinished()) {
                advance(book, reader, deadline);
            }
        }
        return std::none_of(books.begin(), books.end(), isOnItsWay);
    });

    int silent = 0;
    QString problem = "no answer in time";
    for (const Book& book : books) {
        if (isOnItsWay(book) || !book.problem.isEmpty()) {
            silent += 1;
            problem = book.problem.isEmpty() ? problem : book.problem;
        }
        if (!book.path.isEmpty()) {
            bus.send(QDBusMessage::createMethodCall(book.service, book.path,
                                                    serverName("AddressBook"), "Close"));
        }
    }
    if (silent > 0) {
        trouble = QString("%1 of %2 address books cannot be read (%3)")
                      .arg(QString::number(silent), QString::number(books.size()), problem);
    }
}

void EvolutionBooks::advance(Book& book, VCardReader& reader, const QDeadlineTimer& deadline)
{
    const auto ask = [&](const char* method, const QVariantList& arguments, Book::Stage next) {
        QDBusMessage call = QDBusMessage::createMethodCall(book.service, book.path,
                                                           serverName("AddressBook"), method);
        call.setArguments(arguments);
        book.call = bus.asyncCall(call, platform::remainingMs(deadline));
        book.stage = next;
    };
    const auto finish = [&book](const QDBusError& error) {
        book.problem = error.message();
        book.stage = Book::Done;
    };

    if (book.call.isError()) {
        finish(book.call.error());
    } else if (book.stage == Book::AtFactory) {
        const QDBusPendingReply<QString, QString> place = book.call;
        if (place.isError()) {
            finish(place.error());
            return;
        }
        book.path = place.argumentAt<0>();
        book.service = place.argumentAt<1>();
        ask("Open", {}, Book::Opening);
    } else if (book.stage == Book::Opening) {
        ask("GetContactList", {EVERYBODY}, Book::Reading);
    } else {
        const QDBusPendingReply<QStringList> list = book.call;
        if (!list.isError()) {
            for (const QString& card : list.value()) {
                reader.add(card.toUtf8());
            }
        }
        finish(list.error()); // Without an error its message is empty.
    }
}

} // namespace addressbook
