#pragma once

#include <QContact>
#include <QContactFetchHint>
#include <QContactFilter>
#include <QContactId>
#include <QContactManager>
#include <QContactManagerEngine>
#include <QContactSortOrder>
#include <QList>
#include <QString>

namespace addressbook {

/// The owner's address book behind QtContacts: what the first of its sources gives that gives any
/// name. Contacts have an id and a display label, nothing more, and cannot be changed.
///
/// The book is read when it is first asked for, once, within 900 ms: what cannot be had by then
/// is left out, and the log says why: one line, whatever was missing. From then on everything is
/// answered from memory.
///
/// A card without any name is no contact here, though another store would list it with an empty
/// label: the show asks about people by name.
class AddressBookEngine : public QtContacts::QContactManagerEngine
{
    Q_OBJECT

public:
    QString managerName() const override;
    int managerVersion() const override;

    using QContactManagerEngine::contacts;
    /// Those that pass `filter`, sorted as told; in the book's own order where no order is told.
    QList<QtContacts::QContact> contacts(const QtContacts::QContactFilter& filter,
                                         const QList<QtContacts::QContactSortOrder>& sortOrders,
                                         const QtContacts::QContactFetchHint& hint,
                                         QtContacts::QContactManager::Error* error) const override;
    QList<QtContacts::QContactId>
    contactIds(const QtContacts::QContactFilter& filter,
               const QList<QtContacts::QContactSortOrder>& sortOrders,
               QtContacts::QContactManager::Error* error) const override;
    /// An empty contact and DoesNotExistError for an id that is not of this book.
    QtContacts::QContact contact(const QtContacts::QContactId& id,
                                 const QtContacts::QContactFetchHint& hint,
                                 QtContacts::QContactManager::Error* error) const override;

private:
    void readOnce() const;

    // The base asks its questions of a constant engine.
    mutable bool wasRead = false;
    mutable QList<QtContacts::QContact> book;
};

} // namespace addressbook
