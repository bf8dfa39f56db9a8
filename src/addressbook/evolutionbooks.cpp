#include "addressbook/evolutionbooks.h"

#include "addressbook/vcardreader.h"
#include "platform/busconnection.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

#include <algorithm>

namespace platform {

namespace {

const QString PREFIX("org.gnome.evolution.dataserver.");
const QString ROOT("/org/gnome/evolution/dataserver/");
const QString LOCAL_BOOK("system-address-book");

/// A query is needed; this one is met by every contact.
const QString EVERYBODY("(contains \"x-evolution-any-field\" \"\")");

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
        if (line.startsWith('[')) {
            group = line;
            isAddressBook = isAddressBook || group == "[Address Book]";
        } else if (group == "[Data Source]" && line.startsWith("Enabled=")) {
            source.enabled = line.mid(8) != "false";
        } else if (group == "[Data Source]" && line.startsWith("Parent=")) {
            source.parent = line.mid(7);
        } else if (group == "[Address Book]" && line.startsWith("BackendName=")) {
            source.addressBookBackEnd = line.mid(12);
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
    const QRegularExpression numbered("^" + QRegularExpression::escape(PREFIX + base) +
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

int remainingMs(const QDeadlineTimer& deadline)
{
    return qMax(1, static_cast<int>(deadline.remainingTime()));
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
            bus.call(call, QDBus::Block, remainingMs(deadline)));
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
    const QDBusMessage answer = bus.call(managedObjectsCall(sourcesService, ROOT + "SourceManager"),
                                         QDBus::Block, remainingMs(deadline));
    if (answer.type() == QDBusMessage::ErrorMessage) {
        trouble =
            sourcesService + " does not tell its address books (" + answer.errorMessage() + ")";
        return QStringList();
    }
    QHash<QString, Source> sources;
    const ManagedObjects objects = managedObjects(answer);
    for (const auto& interfaces : objects) {
        const QVariantMap properties = interfaces.value(PREFIX + "Source");
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
            QDBusMessage::createMethodCall(bookService, ROOT + "AddressBookFactory",
                                           PREFIX + "AddressBookFactory", "OpenAddressBook");
        call << uid;
        books.push_back({Book::AtFactory, bus.asyncCall(call, remainingMs(deadline)), QString(),
                         QString(), QString()});
    }

    // All books move at once, so that one with a slow account does not hold up the others. They are
    // watched by turns and not by the event loop: nothing else may happen during the set-up.
    const auto isOnItsWay = [](const Book& book) { return book.stage != Book::Done; };
    while (std::any_of(books.begin(), books.end(), isOnItsWay) && !deadline.hasExpired()) {
        for (Book& book : books) {
            if (isOnItsWay(book) && book.call.isFinished()) {
                advance(book, reader, deadline);
            }
        }
        QThread::msleep(1);
    }

    int silent = 0;
    QString problem = "no answer in time";
    for (const Book& book : books) {
        if (isOnItsWay(book) || !book.problem.isEmpty()) {
            silent += 1;
            problem = book.problem.isEmpty() ? problem : book.problem;
        }
        if (!book.path.isEmpty()) {
            bus.send(QDBusMessage::createMethodCall(book.service, book.path, PREFIX + "AddressBook",
                                                    "Close"));
        }
    }
    if (silent > 0) {
        trouble = QString("%1 of %2 address books cannot be read (%3)")
                      .arg(QString::number(silent), QString::number(books.size()), problem);
    }
}

void EvolutionBooks::advance(Book& book, VCardReader& reader, const QDeadlineTimer& deadline)
{
    const auto ask = [&](const char* method, const QString& argument) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(book.service, book.path, PREFIX + "AddressBook", method);
        if (!argument.isEmpty()) {
            call << argument;
        }
        book.call = bus.asyncCall(call, remainingMs(deadline));
    };

    if (book.call.isError()) {
        book.problem = book.call.error().message();
        book.stage = Book::Done;
        return;
    }
    switch (book.stage) {
    case Book::AtFactory: {
        const QDBusPendingReply<QString, QString> place = book.call;
        if (place.isError()) {
            book.problem = place.error().message();
            book.stage = Book::Done;
            return;
        }
        book.path = place.argumentAt<0>();
        book.service = place.argumentAt<1>();
        ask("Open", QString());
        book.stage = Book::Opening;
        break;
    }
    case Book::Opening:
        ask("GetContactList", EVERYBODY);
        book.stage = Book::Reading;
        break;
    case Book::Reading: {
        const QDBusPendingReply<QStringList> list = book.call;
        if (list.isError()) {
            book.problem = list.error().message();
        } else {
            for (const QString& card : list.value()) {
                reader.add(card.toUtf8());
            }
        }
        book.stage = Book::Done;
        Q_FALLTHROUGH();
    }
    case Book::Done:
        break;
    }
}

} // namespace platform
