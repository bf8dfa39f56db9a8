#include "addressbook/vcardline.h"

#include <QTextCodec>

namespace addressbook {

namespace {

/// The colon that ends the head: not one within a quoted parameter, where the quotes are closed.
int valueColon(const QByteArray& line)
{
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        if (line.at(i) == '"') {
            quoted = !quoted;
        } else if (line.at(i) == ':' && !quoted) {
            return i;
        }
    }
    return line.indexOf(':');
}

/// Null where the line tells none, or one that nobody knows.
QTextCodec* toldCodec(const QByteArray& parameters)
{
    for (const QByteArray& parameter : parameters.split(';')) {
        const QByteArray charset = parameter.trimmed();
        if (charset.startsWith("CHARSET=")) {
            return QTextCodec::codecForName(charset.mid(8));
        }
    }
    return nullptr;
}

} // namespace

VCardLine::VCardLine(const QByteArray& line) : isWhole(line.size() < LONGEST)
{
    const int colon = valueColon(line);
    if (colon <= 0) {
        return;
    }
    // Files that were put together have a mark of their encoding amid their lines.
    const int start = line.startsWith("\xef\xbb\xbf") ? 3 : 0;
    const QByteArray head = line.mid(start, colon - start).toUpper();
    const int semicolon = head.indexOf(';');
    name = semicolon < 0 ? head : head.left(semicolon);
    parameters = head.mid(name.size());
    name = name.mid(name.lastIndexOf('.') + 1).trimmed();
    value = line.mid(colon + 1);
}

bool VCardLine::isWord(const char* word) const
{
    return value.trimmed().toUpper() == word;
}

bool VCardLine::isQuotedPrintable() const
{
    return parameters.contains("QUOTED-PRINTABLE");
}

QStringList VCardLine::fields(QChar separator) const
{
    const QString whole = text();
    QStringList parts = {QString()};
    for (int i = 0; i < whole.size(); ++i) {
        const QChar c = whole.at(i);
        const QChar next = i + 1 < whole.size() ? whole.at(i + 1) : QChar();
        if (c == '\\' && QStringLiteral("\\;,:nN").contains(next)) {
            parts.last() += next.toLower() == 'n' ? QChar('\n') : next;
            i += 1;
        } else if (c == separator) {
            parts.append(QString());
        } else {
            parts.last() += c;
        }
    }
    return parts;
}

QString VCardLine::text() const
{
    const QByteArray bytes =
        isQuotedPrintable() ? QByteArray::fromPercentEncoding(value, '=') : value;
    for (QTextCodec* codec : {toldCodec(parameters), QTextCodec::codecForName("UTF-8")}) {
        QTextCodec::ConverterState state;
        const QString text =
            codec ? codec->toUnicode(bytes.constData(), bytes.size(), &state) : QString();
        // A line that was cut may end within a character.
        if (codec && state.invalidChars == 0 && (state.remainingChars == 0 || !isWhole)) {
            return text;
        }
    }
    return QTextCodec::codecForName("windows-1252")->toUnicode(bytes);
}

} // namespace addressbook
