#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace addressbook {

/// One line of a vCard, unfolded: "group.NAME;parameters:value". Anything else, also a line without
/// a name before its colon, has an empty name and an empty value.
class VCardLine
{
public:
    /// Lines are cut to so many bytes by those who make them: a label's length in any encoding.
    static const int LONGEST = 1200;

    explicit VCardLine(const QByteArray& line);

    /// In capitals, without its group.
    QByteArray name;
    /// As it is written.
    QByteArray value;

    /// Whether `value` is `word`, in letters of any size.
    bool isWord(const char* word) const;

    /// Whether the value is written so; it then goes on after a line that ends with "=".
    bool isQuotedPrintable() const;

    /// The parts of the value between signs that no backslash stands before; without the
    /// backslashes. One part at least.
    ///
    /// The value is read in the encoding that it tells, or else in UTF-8. One that cannot be read
    /// so is taken for the old Latin one: phones and mailers wrote it and did not say so.
    QStringList fields(QChar separator) const;

private:
    QString text() const;

    QByteArray parameters; ///< In capitals.
    bool isWhole;
};

} // namespace addressbook
