#include "platform/vcardreader.h"

#include <QContact>
#include <QContactDisplayLabel>
#include <QContactEmailAddress>
#include <QContactName>
#include <QContactNickname>
#include <QContactOrganization>
#include <QTextCodec>
#include <QVersitContactImporter>
#include <QVersitReader>

#include <cstring>

QTCONTACTS_USE_NAMESPACE
QTVERSIT_USE_NAMESPACE

namespace platform {

namespace {

/// A reader and an importer cost more than a card does, so that cards are read by the batch; and
/// the time is looked at between two of them.
const int BATCH = 50;

/// Long enough for any name, and short enough to be spoken and written on the screen.
const int LONGEST_LABEL = 100;

/// Bytes of a value that are looked at; a label's length in any encoding.
const int LONGEST_VALUE = 1200;

/// What a label is made of, the best first.
const char* const NAMING[] = {"FN", "N", "NICKNAME", "ORG", "EMAIL"};
const int NUM_NAMING = 5;

/// One line of a card, unfolded: "group.NAME;parameters:value".
class CardLine
{
public:
    explicit CardLine(const QByteArray& line) : text(line)
    {
        const int colon = valueColon();
        const QByteArray head = colon < 0 ? text : text.left(colon);
        const int semicolon = head.indexOf(';');
        const QByteArray dotted = semicolon < 0 ? head : head.left(semicolon);
        name = dotted.mid(dotted.lastIndexOf('.') + 1).trimmed().toUpper();
        parameters = head.mid(dotted.size());
        value = colon < 0 ? QByteArray() : text.mid(colon + 1);
    }

    bool isQuotedPrintable() const
    {
        return parameters.toUpper().contains("QUOTED-PRINTABLE");
    }

    /// Those of the parameters that tell how the value is written. QtVersit mistakes a colon within
    /// any other one for the end of the head.
    QByteArray encoding() const
    {
        QByteArray kept;
        if (isQuotedPrintable()) {
            kept += ";ENCODING=QUOTED-PRINTABLE";
        }
        for (const QByteArray& parameter : parameters.toUpper().split(';')) {
            const QByteArray charset = parameter.trimmed();
            if (charset.startsWith("CHARSET=") && !charset.contains(':')) {
                return kept + ';' + charset;
            }
        }
        return kept;
    }

    /// Whether the value holds anything beyond blanks and the signs between its fields.
    bool hasValue() const
    {
        for (const char c : value) {
            if (!std::strchr(" \t;,=", c)) {
                return true;
            }
        }
        return false;
    }

    QByteArray name;
    QByteArray parameters;
    QByteArray value;

private:
    /// The colon that ends the head: not one within a quoted parameter.
    int valueColon() const
    {
        bool quoted = false;
        for (int i = 0; i < text.size(); ++i) {
            if (text.at(i) == '"') {
                quoted = !quoted;
            } else if (text.at(i) == ':' && !quoted) {
                return i;
            }
        }
        return text.indexOf(':');
    }

    QByteArray text;
};

/// A card as far as it is read.
struct CardPieces
{
    QByteArray version = "3.0";
    QByteArray naming[NUM_NAMING];
    bool isGroup = false;

    void take(const CardLine& line)
    {
        if (line.name == "VERSION") {
            const QByteArray told = line.value.trimmed();
            if (told == "2.1" || told == "4.0") {
                version = told;
            }
        } else if (line.name == "KIND" || line.name == "X-ADDRESSBOOKSERVER-KIND") {
            isGroup = isGroup || line.value.trimmed().toLower() == "group";
        } else if (line.name == "X-EVOLUTION-LIST") {
            isGroup = isGroup || line.value.trimmed().toLower() == "true";
        }
        for (int i = 0; i < NUM_NAMING; ++i) {
            if (line.name == NAMING[i] && naming[i].isEmpty() && line.hasValue()) {
                naming[i] = line.name + line.encoding() + ':' + line.value;
            }
        }
    }

    /// A card with one naming line, or with all of them where the best one is not there. Empty
    /// where there is none.
    QByteArray reduced() const
    {
        if (isGroup) {
            return QByteArray();
        }
        QByteArray lines;
        for (int i = 0; i < NUM_NAMING && (i == 0 || naming[0].isEmpty()); ++i) {
            if (!naming[i].isEmpty()) {
                lines += naming[i] + "\r\n";
            }
        }
        if (lines.isEmpty()) {
            return QByteArray();
        }
        return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n";
    }
};

/// Walks over the lines of a text, folded ones made whole and long ones cut.
class LineWalker
{
public:
    explicit LineWalker(const QByteArray& whole) : text(whole), position(0) {}

    bool atEnd() const
    {
        return position >= text.size();
    }

    QByteArray next()
    {
        QByteArray line = physicalLine();
        const bool mayBeEncoded = line.toUpper().contains("QUOTED-PRINTABLE");
        while (!atEnd()) {
            if (text.at(position) == ' ' || text.at(position) == '\t') {
                position += 1;
                append(line, physicalLine());
            } else if (mayBeEncoded && line.endsWith('=') && CardLine(line).isQuotedPrintable()) {
                line.chop(1);
                append(line, physicalLine());
            } else {
                break;
            }
        }
        return line;
    }

private:
    static void append(QByteArray& line, const QByteArray& more)
    {
        if (line.size() + more.size() <= LONGEST_VALUE) {
            line += more;
        }
    }

    QByteArray physicalLine()
    {
        int end = text.indexOf('\n', position);
        if (end < 0) {
            end = text.size();
        }
        const int length = qMin(end - position, LONGEST_VALUE);
        QByteArray line = text.mid(position, length);
        position = end + 1;
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        return line;
    }

    const QByteArray& text;
    int position;
};

/// What a label may hold: one line of visible text, in whole characters.
QString cleaned(const QString& text)
{
    const QString start = text.left(8 * LONGEST_LABEL);
    QString label;
    for (int i = 0; i < start.size(); ++i) {
        const QChar c = start.at(i);
        if (c.isHighSurrogate() && i + 1 < start.size() && start.at(i + 1).isLowSurrogate()) {
            label += c;
            label += start.at(++i);
        } else if (c.category() == QChar::Other_Control) {
            label += ' ';
        } else if (!c.isSurrogate()) {
            label += c;
        }
    }
    label = label.simplified().left(LONGEST_LABEL);
    if (!label.isEmpty() && label.at(label.size() - 1).isHighSurrogate()) {
        label.chop(1);
    }
    return label.trimmed();
}

QString labelOf(const QContact& contact)
{
    const QContactName name = contact.detail<QContactName>();
    const QContactOrganization organization = contact.detail<QContactOrganization>();
    const QStringList candidates = {
        contact.detail<QContactDisplayLabel>().label(),
        QStringList{name.firstName(), name.middleName(), name.lastName()}.join(' '),
        QStringList{name.prefix(), name.suffix()}.join(' '),
        contact.detail<QContactNickname>().nickname(),
        organization.name(),
        organization.department().join(' '),
        contact.detail<QContactEmailAddress>().emailAddress()};
    for (const QString& candidate : candidates) {
        const QString label = cleaned(candidate);
        if (!label.isEmpty()) {
            return label;
        }
    }
    return QString();
}

/// The text in UTF-8. Old phones wrote cards in Latin-1 and did not say so.
QByteArray inUtf8(const QByteArray& text)
{
    QTextCodec* told = QTextCodec::codecForUtfText(text, nullptr);
    if (told) {
        return told->toUnicode(text).toUtf8();
    }
    if (text.toUpper().contains("CHARSET=")) {
        return text;
    }
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(text.constData(), text.size(), &state);
    return state.invalidChars == 0 ? text : QString::fromLatin1(text).toUtf8();
}

} // namespace

VCardReader::VCardReader(const QDeadlineTimer& until) : deadline(until) {}

void VCardReader::add(const QByteArray& text)
{
    if (cutShort) {
        return;
    }
    const QByteArray utf8 = inUtf8(text);
    LineWalker lines(utf8);
    CardPieces card;
    int depth = 0; // Of cards within a card, as an agent's is.
    bool agentFollows = false;
    const auto close = [this, &card] {
        const QByteArray reduced = card.reduced();
        if (!reduced.isEmpty()) {
            waiting.append(reduced);
        }
        card = CardPieces();
        if (waiting.size() >= BATCH) {
            readWaiting();
        }
    };
    while (!lines.atEnd() && !cutShort) {
        const CardLine line(lines.next());
        const bool ofCard = line.value.trimmed().toUpper() == "VCARD";
        if (line.name == "BEGIN" && ofCard) {
            if (depth == 0 || agentFollows) {
                depth += 1;
            } else {
                // The card before was left open; what there is of it counts.
                close();
                depth = 1;
            }
        } else if (line.name == "END" && ofCard && depth > 0) {
            depth -= 1;
            if (depth == 0) {
                close();
            }
        } else if (depth == 1) {
            card.take(line);
        }
        agentFollows = line.name == "AGENT" && !line.hasValue();
    }
    if (depth > 0) {
        close();
    }
}

void VCardReader::finish()
{
    readWaiting();
}

const QStringList& VCardReader::labels() const
{
    return read;
}

bool VCardReader::wasCutShort() const
{
    return cutShort;
}

void VCardReader::readWaiting()
{
    if (waiting.isEmpty()) {
        return;
    }
    const QByteArray cards = waiting.join();
    waiting.clear();
    if (deadline.hasExpired()) {
        cutShort = true;
        return;
    }
    QVersitReader reader(cards);
    reader.setDefaultCodec(QTextCodec::codecForName("UTF-8"));
    reader.startReading();
    reader.waitForFinished();
    QVersitContactImporter importer;
    importer.importDocuments(reader.results());
    for (const QContact& contact : importer.contacts()) {
        const QString label = labelOf(contact);
        if (!label.isEmpty()) {
            read.append(label);
        }
    }
}

} // namespace platform
