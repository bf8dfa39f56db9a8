#include "addressbook/visiblename.h"

#include <QTest>

class VisibleNameTest : public QObject
{
    Q_OBJECT

private slots:
    void visibleName_data();
    void visibleName();
    void invisibleIsNone_data();
    void invisibleIsNone();
    void directionIsLeftAlone_data();
    void directionIsLeftAlone();
};

void VisibleNameTest::visibleName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    const auto row = [](const char* title, const QString& text, const QString& name) {
        QTest::newRow(title) << text << name;
    };
    row("plain", "Anna Smith", "Anna Smith");
    row("blanks", "  Anna\t \nSmith ", "Anna Smith");
    row("other blanks", QString::fromUtf8("\u00a0Anna\u2003\u3000Smith\u2028"), "Anna Smith");
    row("control characters", QString::fromUtf8("An\u0001\u001b[31m\u0085na"), "An [31m na");
    row("an invisible word", QString::fromUtf8("\u200b Anna"), "Anna");
    row("an invisible start", QString::fromUtf8("\ufeffAnna"), "Anna");
    row("soft hyphen", QString::fromUtf8("An\u00adna"), "Anna");
    row("joiner of nothing", QString::fromUtf8("\u200d\ufe0fAnna \u200cSmith"), "Anna Smith");
    // A joiner that shapes what is written: an emoji of three, and a Persian name.
    row("joined emoji", QString::fromUtf8("👩\u200d💻"), QString::fromUtf8("👩\u200d💻"));
    row("heart in red", QString::fromUtf8("❤\ufe0f Anna"), QString::fromUtf8("❤\ufe0f Anna"));
    row("Persian", QString::fromUtf8("علی\u200cرضا"), QString::fromUtf8("علی\u200cرضا"));
    row("Devanagari", QString::fromUtf8("क्\u200dष"), QString::fromUtf8("क्\u200dष"));
    row("accents apart", QString::fromUtf8("Rene\u0301"), QString::fromUtf8("Rene\u0301"));
    row("long", QString(300, 'x'), QString(100, 'x'));
    row("long words", QString("x").repeated(99) + " y", QString("x").repeated(99));
    row("long, in pairs", "x" + QString::fromUtf8("😀").repeated(80),
        "x" + QString::fromUtf8("😀").repeated(49));
    row("behind much that is invisible", QString(300, QChar(0x200b)) + "Anna", "Anna");
}

void VisibleNameTest::visibleName()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    QCOMPARE(addressbook::visibleName(text), name);
}

void VisibleNameTest::invisibleIsNone_data()
{
    QTest::addColumn<uint>("sign");
    for (const uint sign :
         {0x00u,   0x20u,   0x7fu,   0x85u,   0xa0u,    0xadu,    0x34fu,   0x61cu,  0x115fu,
          0x1160u, 0x17b4u, 0x17b5u, 0x180bu, 0x180eu,  0x2000u,  0x200bu,  0x200cu, 0x200du,
          0x200eu, 0x2028u, 0x202eu, 0x2060u, 0x2064u,  0x2800u,  0x3000u,  0x3164u, 0xfe00u,
          0xfe0fu, 0xfeffu, 0xffa0u, 0xfff9u, 0xe0001u, 0xe0020u, 0xe0100u, 0xe01efu}) {
        QTest::addRow("U+%04X", sign) << sign;
    }
}

void VisibleNameTest::invisibleIsNone()
{
    QFETCH(uint, sign);
    const QString text = QString::fromUcs4(&sign, 1);
    QCOMPARE(addressbook::visibleName(text), QString());
    QCOMPARE(addressbook::visibleName(text + ' ' + text + text), QString());
}

void VisibleNameTest::directionIsLeftAlone_data()
{
    QTest::addColumn<uint>("sign");
    for (const uint sign : {0x61cu, 0x200eu, 0x200fu, 0x202au, 0x202bu, 0x202cu, 0x202du, 0x202eu,
                            0x2066u, 0x2067u, 0x2068u, 0x2069u}) {
        QTest::addRow("U+%04X", sign) << sign;
    }
}

void VisibleNameTest::directionIsLeftAlone()
{
    QFETCH(uint, sign);
    const QString mark = QString::fromUcs4(&sign, 1);
    QCOMPARE(addressbook::visibleName("An" + mark + "na" + mark), QString("Anna"));
}

QTEST_GUILESS_MAIN(VisibleNameTest)
#include "visiblenametest.moc"
