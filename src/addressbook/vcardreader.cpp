#include "addressbook/vcardreader.h"

#include "addressbook/vcardline.h"
#include "addressbook/visiblename.h"

#include <QTextCodec>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace addressbook {

namespace {

const int UTF_8_MIB = 106;

/// What a label is made of, the best first.
const char* const NAMING[] = {"FN", "N", "NICKNAME", "ORG", "EMAIL"};
const int NUM_NAMING = static_cast<int>(std::size(NAMING));

/// Walks over the lines of a text, folded ones made whole and long ones cut. It works on bytes: a
/// fold may lie within a character.
class LineWalker
{
public:
    explicit LineWalker(const QByteArray& whole) : text(whole) {}

    bool atEnd() const
    {
        return position >= text.size();
    }

    VCardLine next()
    {
        QByteArray line;
        bool isQuoted = false;
        bool goesOn = true;
        while (goesOn) {
            const int start = position;
            int length = physicalLine();
            goesOn = length > 0 && text.at(start + length - 1) == '=';
            length = qMin(length, VCardLine::LONGEST - line.size());
            line.append(text.constData() + start, length);
            isQuoted = isQuoted || (goesOn && VCardLine(line).isQuotedPrintable());
            goesOn = goesOn && isQuoted && !atEnd();
            if (goesOn && line.endsWith('=')) {
                line.chop(1);
            }
            if (!goesOn && !atEnd() && (text.at(position) == ' ' || text.at(position) == '\t')) {
                position += 1;
                goesOn = true;
            }
        }
        return VCardLine(line);
    }

private:
    /// Goes behind the next end of a line, "\n", "\r\n" or "\r"; the number of bytes before it.
    int physicalLine()
    {
        const int start = position;
        if (lineFeed < start) {
            lineFeed = text.indexOf('\n', start);
            lineFeed = lineFeed < 0 ? text.size() : lineFeed;
        }
        const auto rest = static_cast<size_t>(lineFeed - start);
        const void* const found = std::memchr(text.constData() + start, '\r', rest);
        const int end =
            found ? static_cast<int>(static_cast<const char*>(found) - text.constData()) : lineFeed;
        position = end + 1 == lineFeed ? end + 2 : end + 1;
        return end - start;
    }

    const QByteArray& text;
    int position = 0;
    int lineFeed = -1; ///< The next one, or the end.
};

/// What a naming line offers as a label, the best first.
QStringList candidates(const VCardLine& line)
{
    if (line.name == "N") {
        const QStringList parts = line.fields(';');
        return {QStringList{parts.value(1), parts.value(2), parts.value(0)}.join(' '),
                QStringList{parts.value(3), parts.value(4)}.join(' ')};
    }
    if (line.name == "ORG") {
        const QStringList parts = line.fields(';');
        return {parts.first(), QStringList(parts.mid(1)).join(' ')};
    }
    if (line.name == "NICKNAME") {
        return line.fields(',');
    }
    return {line.fields('\n').join(' ')};
}

/// The label that a naming line makes; empty where it holds nothing visible.
QString labelOf(const VCardLine& line)
{
    for (const QString& candidate : candidates(line)) {
        const QString label = visibleName(candidate);
        if (!label.isEmpty()) {
            return label;
        }
    }
    return QString();
}

/// A card as far as it is read.
struct Card
{
    void take(const VCardLine& line)
    {
        isGroup = isGroup || (line.name == "KIND" && line.isWord("GROUP")) ||
                  (line.name == "X-ADDRESSBOOKSERVER-KIND" && line.isWord("GROUP")) ||
                  (line.name == "X-EVOLUTION-LIST" && line.isWord("TRUE"));
        const auto kind = std::find(std::begin(NAMING), std::end(NAMING), line.name);
        const QString better = kind - NAMING < rank ? labelOf(line) : QString();
        if (!better.isEmpty()) {
            label = better;
            rank = static_cast<int>(kind - NAMING);
        }
    }

    QString label;
    int rank = NUM_NAMING; ///< Of the label among the naming lines; the first of its kind counts.
    bool isGroup = false;
};

} // namespace

VCardReader::VCardReader(const QDeadlineTimer& end) : deadline(end) {}

void VCardReader::add(const QByteArray& text)
{
    const QTextCodec* wide = QTextCodec::codecForUtfText(text, nullptr);
    const QByteArray bytes =
        wide && wide->mibEnum() != UTF_8_MIB ? wide->toUnicode(text).toUtf8() : text;
    LineWalker lines(bytes);
    Card card;
    int depth = 0; // Of cards within a card, as an agent's is.
    bool agentFollows = false;
    const auto close = [this, &card] {
        cutShort = deadline.hasExpired();
        if (!cutShort && !card.isGroup && !card.label.isEmpty()) {
            read.append(card.label);
        }
        card = Card();
    };
    while (!lines.atEnd() && !cutShort) {
        const VCardLine line = lines.next();
        const bool ofCard = line.isWord("VCARD");
        if (line.name == "BEGIN" && ofCard) {
            if (depth > 0 && !agentFollows) {
                // The card before was left open; what there is of it counts.
                close();
                depth = 0;
            }
            depth += 1;
        } else if (line.name == "END" && ofCard && depth > 0) {
            depth -= 1;
            if (depth == 0) {
                close();
            }
        } else if (depth == 1) {
            card.take(line);
        }
        agentFollows = line.name == "AGENT" && line.value.trimmed().isEmpty();
    }
    if (depth > 0 && !cutShort) {
        close();
    }
}

const QStringList& VCardReader::labels() const
{
    return read;
}

bool VCardReader::wasCutShort() const
{
    return cutShort;
}

} // namespace addressbook
