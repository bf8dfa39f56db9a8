#include "addressbook/visiblename.h"

#include <QVector>

namespace addressbook {

namespace {

/// Long enough for any name, and short enough to be spoken and written on the screen.
const int LONGEST = 100;
/// So much of a text is looked at: a name may stand behind much that is invisible.
const int MOST_READ = 8 * LONGEST;

bool isWithin(uint sign, uint first, uint last)
{
    return sign >= first && sign <= last;
}

/// Has no picture of its own, but changes that of the sign before it.
bool isShaping(uint sign)
{
    return isWithin(sign, 0x200c, 0x200d) || isWithin(sign, 0xfe00, 0xfe0f) ||
           isWithin(sign, 0xe0100, 0xe01ef) || isWithin(sign, 0x180b, 0x180d);
}

/// Has no picture at all: a sign of format, a filler, the empty Braille pattern.
bool isInvisible(uint sign)
{
    switch (sign) {
    case 0x034f:
    case 0x115f:
    case 0x1160:
    case 0x17b4:
    case 0x17b5:
    case 0x2800:
    case 0x3164:
    case 0xffa0:
        return true;
    default:
        return QChar::category(sign) == QChar::Other_Format;
    }
}

} // namespace

QString visibleName(const QString& text)
{
    QString name;
    bool followsASign = false;
    for (const uint sign : text.left(MOST_READ).toUcs4()) {
        const bool isBlank = QChar::isSpace(sign) || QChar::category(sign) == QChar::Other_Control;
        if (isBlank) {
            name += ' ';
        } else if (isShaping(sign) ? followsASign : !isInvisible(sign)) {
            name += QString::fromUcs4(&sign, 1);
        } else {
            continue;
        }
        followsASign = !isBlank;
    }
    name = name.simplified().left(LONGEST);
    if (name.endsWith(' ') || (!name.isEmpty() && name.at(name.size() - 1).isHighSurrogate())) {
        name.chop(1);
    }
    return name;
}

} // namespace addressbook
