#include "device/friends.h"

#include "platform/servicelog.h"

#include <QContact>
#include <QContactDisplayLabel>
#include <QContactFetchHint>
#include <QContactManager>
#include <QContactSortOrder>
#include <QList>
#include <QVector>
#include <QtGlobal>

#include <utility>

QTCONTACTS_USE_NAMESPACE

struct Friends::FriendsPrivate
{
    QVector<QString> names;
};

namespace {

/// The label up to its first blank; a label that begins with one is kept whole.
QString firstName(const QString& label)
{
    const int blank = label.indexOf(" ");
    return blank > 0 ? label.left(blank) : label;
}

/// Swaps each position with any other, with one draw for each; not an unbiased shuffle. Which names
/// the show speaks for a given seed depends on it.
void shuffle(QVector<QString>& names)
{
    for (int i = 0; i < names.size(); ++i) {
        const int j = qrand() % names.size();
        std::swap(names[i], names[j]);
    }
}

} // namespace

Friends::Friends(QObject* parent) : QObject(parent), d(new FriendsPrivate) {}

Friends::~Friends() = default;

void Friends::query()
{
    {
        QContactManager manager{QString()};
        const QList<QContact> contacts =
            manager.contacts(QList<QContactSortOrder>(), QContactFetchHint());
        for (const QContact& listed : contacts) {
            const QContact contact = manager.contact(listed.id(), QContactFetchHint());
            d->names.append(firstName(contact.detail<QContactDisplayLabel>().label()));
        }
        if (d->names.isEmpty()) {
            platform::reportNoContacts(manager.managerName(), manager.error());
        }
    }
    if (d->names.isEmpty()) {
        d->names = {"Olka", "Rovi", "Ferida", "Tasu", "Nelo-Vira", "Morela", "Vuffa"};
    }
    shuffle(d->names);
}

QString Friends::name(int i)
{
    return d->names.at(i % d->names.size());
}
