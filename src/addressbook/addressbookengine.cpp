#include "addressbook/addressbookengine.h"

#include "addressbook/evolutionbooks.h"
#include "addressbook/vcardfolders.h"
#include "addressbook/vcardreader.h"
#include "platform/busconnection.h"
#include "platform/ownaddressbook.h"
#include "platform/servicelog.h"

#include <QContactDisplayLabel>
#include <QDeadlineTimer>
#include <QStringList>

QTCONTACTS_USE_NAMESPACE

namespace addressbook {

namespace {

const int BUDGET_MS = 900;

/// What a server may take where there are folders to read in its place.
const int SERVER_BUDGET_MS = 600;

QString readServer(VCardReader& reader, const QDeadlineTimer& deadline)
{
    const QDBusConnection bus = platform::sessionBus();
    return bus.isConnected() ? EvolutionBooks(bus).read(reader, deadline)
                             : QString("no session bus to ask for address books");
}

/// In one line, whatever was missing; `troubles` may hold empty ones.
void tell(QStringList troubles, bool nobodyIsThere)
{
    troubles.removeAll(QString());
    const QString told = troubles.join("; ");
    if (nobodyIsThere) {
        qCWarning(lcPlatform, "No contacts: %s",
                  told.isEmpty() ? "the address book is empty" : qUtf8Printable(told));
    } else if (!told.isEmpty()) {
        qCWarning(lcPlatform, "Not all contacts: %s", qUtf8Printable(told));
    }
}

} // namespace

QString AddressBookEngine::managerName() const
{
    return platform::OWN_ADDRESS_BOOK;
}

int AddressBookEngine::managerVersion() const
{
    return 1;
}

QList<QContact> AddressBookEngine::contacts(const QContactFilter& filter,
                                            const QList<QContactSortOrder>& sortOrders,
                                            const QContactFetchHint&,
                                            QContactManager::Error* error) const
{
    readOnce();
    *error = QContactManager::NoError;
    QList<QContact> found;
    for (const QContact& contact : qAsConst(book)) {
        if (!testFilter(filter, contact)) {
            continue;
        }
        if (sortOrders.isEmpty()) {
            found.append(contact);
        } else {
            addSorted(&found, contact, sortOrders);
        }
    }
    return found;
}

QList<QContactId> AddressBookEngine::contactIds(const QContactFilter& filter,
                                                const QList<QContactSortOrder>& sortOrders,
                                                QContactManager::Error* error) const
{
    QList<QContactId> ids;
    for (const QContact& contact : contacts(filter, sortOrders, QContactFetchHint(), error)) {
        ids.append(contact.id());
    }
    return ids;
}

QContact AddressBookEngine::contact(const QContactId& id, const QContactFetchHint&,
                                    QContactManager::Error* error) const
{
    readOnce();
    bool isNumber = false;
    const int index = id.localId().toInt(&isNumber);
    if (!isNumber || index < 0 || index >= book.size() || book.at(index).id() != id) {
        *error = QContactManager::DoesNotExistError;
        return QContact();
    }
    *error = QContactManager::NoError;
    return book.at(index);
}

void AddressBookEngine::readOnce() const
{
    if (wasRead) {
        return;
    }
    wasRead = true;
    const QDeadlineTimer deadline(BUDGET_MS, Qt::PreciseTimer);
    const VCardFolders folders;
    VCardReader reader(deadline);
    QStringList troubles = {readServer(
        reader, folders.exist() ? QDeadlineTimer(SERVER_BUDGET_MS, Qt::PreciseTimer) : deadline)};
    if (reader.labels().isEmpty() && folders.exist()) {
        troubles.append(folders.read(reader, deadline));
    }
    if (reader.wasCutShort()) {
        troubles.append(
            QString("the address book is large or slow: %1 names in %2 ms")
                .arg(QString::number(reader.labels().size()), QString::number(BUDGET_MS)));
    }
    tell(troubles, reader.labels().isEmpty());
    for (const QString& text : reader.labels()) {
        QContact contact;
        contact.setId(contactId(QByteArray::number(book.size())));
        QContactDisplayLabel label;
        label.setLabel(text);
        contact.saveDetail(&label);
        book.append(contact);
    }
}

} // namespace addressbook
