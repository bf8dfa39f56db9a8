#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QDeadlineTimer>
#include <QStringList>

namespace platform {

/// Takes the display labels out of vCards (2.1, 3.0, 4.0), one for each card: its full name, else
/// its given, middle and family name, else its nickname, organisation or e-mail address.
///
/// Of a card nothing else is read. Cards of groups, and those that have none of these, give no
/// label; neither does garbage. A label holds no control characters and 100 characters at most.
class VCardReader
{
public:
    /// Reading ends, where need be within a text, when the time `until` is over.
    explicit VCardReader(const QDeadlineTimer& until);

    /// Takes any number of cards, whole ones, in UTF-8 or what else the text says of itself.
    void add(const QByteArray& text);

    /// Reads the cards that add() has kept back to read many at a time. Call it after the last one.
    void finish();

    /// The labels so far, in the order of their cards.
    const QStringList& labels() const;

    /// True when cards were left unread because the time was over.
    bool wasCutShort() const;

private:
    void readWaiting();

    QDeadlineTimer deadline;
    QByteArrayList waiting; ///< Cards reduced to what a label is made of.
    QStringList read;
    bool cutShort = false;
};

} // namespace platform
