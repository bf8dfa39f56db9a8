#pragma once

#include <QContactManager>
#include <QContactManagerEngineFactory>
#include <QMap>
#include <QString>

/// Makes the show's own address book known to QtContacts, in every program that links the show.
///
/// It becomes the one that a manager without a name stands for, where that would be "invalid":
/// neither has the user named one (QTCONTACTS_MANAGER_OVERRIDE) nor does the system have its own.
class AddressBookFactory : public QtContacts::QContactManagerEngineFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QT_CONTACT_MANAGER_ENGINE_INTERFACE FILE "addressbookfactory.json")

public:
    /// A new engine, owned by the manager that asks for it. There are no parameters.
    QtContacts::QContactManagerEngine* engine(const QMap<QString, QString>& parameters,
                                              QtContacts::QContactManager::Error* error) override;
    QString managerName() const override;
};
