#include "addressbook/vcardline.h"

#include <QTest>

using addressbook::VCardLine;

/// One line of a card; whole cards are in vcardreadertest.
class VCardLineTest : public QObject
{
    Q_OBJECT

private slots:
    void headAndValue_data();
    void headAndValue();
    void fields_data();
    void fields();
    void isWord();
};

void VCardLineTest::headAndValue_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("quotedPrintable");
    const auto row = [](const char* title, const char* line, const char* name, const char* value,
                        bool quotedPrintable = false) {
        QTest::newRow(title) << QByteArray(line) << QByteArray(name) << QByteArray(value)
                             << quotedPrintable;
    };
    row("plain", "FN:Anna", "FN", "Anna");
    row("lower case", "fn:anna", "FN", "anna");
    row("grouped", "item1.FN:Anna", "FN", "Anna");
    row("groups in groups", "a.b.FN:Anna", "FN", "Anna");
    row("blanks", " FN :  Anna ", "FN", "  Anna ");
    row("parameters", "FN;LANGUAGE=fi;X.Y=z:Anna", "FN", "Anna");
    row("colons", "FN:Anna: Smith", "FN", "Anna: Smith");
    row("quoted colon", "FN;X=\"a:b;c\":Anna", "FN", "Anna");
    row("quotes left open", "FN;X=\"a:Anna", "FN", "Anna");
    row("quoted printable", "FN;encoding=Quoted-Printable:=41", "FN", "=41", true);
    row("old quoted printable", "FN;QUOTED-PRINTABLE:=41", "FN", "=41", true);
    row("quoted printable as a value", "FN:QUOTED-PRINTABLE", "FN", "QUOTED-PRINTABLE");
    row("no value", "FN:", "FN", "");
    row("a mark before",
        "\xef\xbb\xbf"
        "FN:Anna",
        "FN", "Anna");
    row("no colon", "FN", "", "");
    row("empty", "", "", "");
    row("a colon only", ":", "", "");
    row("empty head", ":FN", "", "");
    row("empty head, and more", ":x.FN:Anna", "", "");
    row("no name", ";X=y:Anna", "", "Anna");
}

void VCardLineTest::headAndValue()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, value);
    QFETCH(bool, quotedPrintable);
    const VCardLine parsed(line);
    QCOMPARE(parsed.name, name);
    QCOMPARE(parsed.value, value);
    QCOMPARE(parsed.isQuotedPrintable(), quotedPrintable);
}

void VCardLineTest::fields_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QStringList>("fields");
    QTest::newRow("none") << QByteArray() << QStringList{""};
    QTest::newRow("one") << QByteArray("a,b") << QStringList{"a,b"};
    QTest::newRow("three") << QByteArray("a;;b") << QStringList{"a", "", "b"};
    QTest::newRow("escaped") << QByteArray("a\\;b;c") << QStringList{"a;b", "c"};
    QTest::newRow("backslash before") << QByteArray("a\\\\;b") << QStringList{"a\\", "b"};
    QTest::newRow("other escapes") << QByteArray("\\,\\:\\n\\N") << QStringList{",:\n\n"};
    QTest::newRow("no escapes") << QByteArray("\\x\\") << QStringList{"\\x\\"};
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << QStringList{QString("a") + QChar(0) + "b"};
}

void VCardLineTest::fields()
{
    QFETCH(QByteArray, value);
    QFETCH(QStringList, fields);
    QCOMPARE(VCardLine("N:" + value).fields(';'), fields);
}

void VCardLineTest::isWord()
{
    QVERIFY(VCardLine("BEGIN:VCARD").isWord("VCARD"));
    QVERIFY(VCardLine("BEGIN: vCard ").isWord("VCARD"));
    QVERIFY(!VCardLine("BEGIN:VCARDS").isWord("VCARD"));
    QVERIFY(!VCardLine("BEGIN:").isWord("VCARD"));
    QVERIFY(!VCardLine(":VCARD").isWord("VCARD"));
}

QTEST_GUILESS_MAIN(VCardLineTest)
#include "vcardlinetest.moc"
