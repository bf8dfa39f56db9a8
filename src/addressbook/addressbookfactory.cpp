#include "addressbook/addressbookfactory.h"

#include "addressbook/addressbookengine.h"

#include <QCoreApplication>
#include <QtPlugin>

#include <memory>

QTCONTACTS_USE_NAMESPACE

QContactManagerEngine* AddressBookFactory::engine(const QMap<QString, QString>&,
                                                  QContactManager::Error* error)
{
    *error = QContactManager::NoError;
    return std::make_unique<platform::AddressBookEngine>().release();
}

QString AddressBookFactory::managerName() const
{
    return platform::AddressBookEngine::name();
}

Q_IMPORT_PLUGIN(AddressBookFactory)

namespace {

/// The variable is QtContacts' only way to name the default at run time, and it is read anew for
/// every manager. When the application object is made the folders of plugins are known.
void becomeTheDefault()
{
    const char variable[] = "QTCONTACTS_MANAGER_OVERRIDE";
    if (qEnvironmentVariableIsEmpty(variable) &&
        QContactManager::availableManagers().value(0) == "invalid") {
        qputenv(variable, platform::AddressBookEngine::name().toUtf8());
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(becomeTheDefault)
