#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QStringList>

namespace addressbook {

/// Takes the display labels out of vCards (2.1, 3.0, 4.0), one for each card: its full name, else
/// its given, middle and family name, else its nickname, organisation or e-mail address.
///
/// Of a card nothing else is read. Cards of groups give no label, and neither does garbage. Nor do
/// cards that have none of these, or nothing visible in them.
/// Labels are as visibleName() makes them.
class VCardReader
{
public:
    /// Reading ends at `end`, where need be within a text.
    explicit VCardReader(const QDeadlineTimer& end);

    /// Takes any number of cards, whole ones, with line ends of any kind; in UTF-16 where the text
    /// begins with its mark, otherwise each line in the encoding that it has.
    void add(const QByteArray& text);

    /// The labels so far, in the order of their cards.
    const QStringList& labels() const;

    /// True when cards were left unread because the time was over.
    bool wasCutShort() const;

private:
    QDeadlineTimer deadline;
    QStringList read;
    bool cutShort = false;
};

} // namespace addressbook
