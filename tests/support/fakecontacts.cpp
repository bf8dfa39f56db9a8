#include "support/fakecontacts.h"

#include <QContact>
#include <QContactDisplayLabel>
#include <QContactFetchHint>
#include <QContactFilter>
#include <QContactId>
#include <QContactManager>
#include <QContactManagerEngine>
#include <QContactManagerEngineFactory>
#include <QContactSortOrder>
#include <QList>
#include <QMap>
#include <QtPlugin>

#include <memory>

QTCONTACTS_USE_NAMESPACE

namespace {

QStringList& labelsInStore()
{
    static QStringList labels;
    return labels;
}

int fetches = 0;

class FakeEngine : public QContactManagerEngine
{
public:
    QString managerName() const override
    {
        return "fakebook";
    }

    int managerVersion() const override
    {
        return 1;
    }

    using QContactManagerEngine::contacts;
    QList<QContact> contacts(const QContactFilter&, const QList<QContactSortOrder>&,
                             const QContactFetchHint&, QContactManager::Error* error) const override
    {
        *error = QContactManager::NoError;
        QList<QContact> all;
        for (int i = 0; i < labelsInStore().size(); ++i) {
            // The list holds the ids only: labels come with each contact's own fetch.
            QContact contact;
            contact.setId(QContactId(managerUri(), QByteArray::number(i)));
            all.append(contact);
        }
        return all;
    }

    QContact contact(const QContactId& id, const QContactFetchHint&,
                     QContactManager::Error* error) const override
    {
        *error = QContactManager::NoError;
        fetches += 1;
        QContact contact;
        contact.setId(id);
        QContactDisplayLabel label;
        label.setLabel(labelsInStore().value(id.localId().toInt()));
        contact.saveDetail(&label);
        return contact;
    }
};

} // namespace

class FakeContactsFactory : public QContactManagerEngineFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QContactManagerEngineFactoryInterface" FILE
                          "fakecontacts.json")

public:
    QContactManagerEngine* engine(const QMap<QString, QString>&,
                                  QContactManager::Error* error) override
    {
        *error = QContactManager::NoError;
        return std::make_unique<FakeEngine>().release(); // Owned by the manager.
    }

    QString managerName() const override
    {
        return "fakebook";
    }
};

Q_IMPORT_PLUGIN(FakeContactsFactory)

namespace fakecontacts {

void use()
{
    qputenv("QTCONTACTS_MANAGER_OVERRIDE", "fakebook");
}

void setLabels(const QStringList& labels)
{
    labelsInStore() = labels;
    fetches = 0;
}

int fetched()
{
    return fetches;
}

} // namespace fakecontacts

#include "fakecontacts.moc"
