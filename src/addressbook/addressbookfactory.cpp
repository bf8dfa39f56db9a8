#include "addressbook/addressbookfactory.h"

#include "addressbook/addressbookengine.h"
#include "platform/ownaddressbook.h"

#include <QCoreApplication>
#include <QtPlugin>

#include <memory>

QTCONTACTS_USE_NAMESPACE

QContactManagerEngine* AddressBookFactory::engine(const QMap<QString, QString>&,
                                                  QContactManager::Error* error)
{
    *error = QContactManager::NoError;
    return std::make_unique<addressbook::AddressBookEngine>().release();
}

QString AddressBookFactory::managerName() const
{
    return platform::OWN_ADDRESS_BOOK;
}

Q_IMPORT_PLUGIN(AddressBookFactory)

namespace {

/// The variable is QtContacts' only way to name the default at run time, and it is read anew for
/// every manager. When the application object is made the folders of plugins are known.
void becomeTheDefault()
{
    if (qEnvironmentVariableIsEmpty(platform::DEFAULT_ADDRESS_BOOK_VARIABLE) &&
        QContactManager::availableManagers().value(0) == "invalid") {
        qputenv(platform::DEFAULT_ADDRESS_BOOK_VARIABLE, platform::OWN_ADDRESS_BOOK);
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(becomeTheDefault)
