#include "addressbook/vcardreader.h"

#include "support/steadyclock.h"

#include <QElapsedTimer>
#include <QTest>

#include <utility>

using addressbook::VCardReader;

namespace {

QByteArray card(const QByteArray& lines, const QByteArray& version = "3.0")
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "\r\nEND:VCARD\r\n";
}

QStringList labelsOf(const QByteArray& text)
{
    VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    reader.add(text);
    return reader.labels();
}

QString utf8(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

class VCardReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void label_data();
    void label();
    void severalCards_data();
    void severalCards();
    void labelIsShortAndVisible_data();
    void labelIsShortAndVisible();
    void encodings_data();
    void encodings();
    void lineEnds_data();
    void lineEnds();
    void textsFollowEachOther();
    void manyKeepTheirOrder();
    void nothingIsReadWithoutTime();
    void readingEndsWithTheTime();
    void largeRubbishIsQuick_data();
    void largeRubbishIsQuick();
};

void VCardReaderTest::label_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("label");
    const auto row = [](const char* name, const QByteArray& lines, const QString& label) {
        QTest::newRow(name) << card(lines) << label;
    };
    row("full name", "FN:Anna Smith", "Anna Smith");
    row("full name first", "EMAIL:a@b.c\r\nORG:Firm\r\nNICKNAME:Annie\r\nN:S;A;;;\r\nFN:Anna Smith",
        "Anna Smith");
    row("name of two", "N:Smith;Anna;;;", "Anna Smith");
    row("name of all", "N:Smith;Anna;Maria Eva;Dr.;Jr.", "Anna Maria Eva Smith");
    row("family name only", "N:Smith;;;;", "Smith");
    row("short name", "N:Smith;Anna", "Anna Smith");
    row("title only", "N:;;;Dr.;", "Dr.");
    row("nickname", "NICKNAME:Annie\r\nORG:Firm\r\nEMAIL:a@b.c", "Annie");
    row("organisation", "ORG:Firm;Department\r\nEMAIL:a@b.c", "Firm");
    row("department", "ORG:;Department", "Department");
    row("e-mail", "EMAIL;TYPE=HOME,INTERNET:anna@example.org\r\nEMAIL:b@example.org",
        "anna@example.org");
    row("empty full name", "FN:\r\nN:Smith;Anna;;;", "Anna Smith");
    row("full name of blanks", "FN: \t\r\nN:;;;;\r\nNICKNAME:Annie", "Annie");
    row("two full names", "FN:Anna Smith\r\nFN:A. Smith", "Anna Smith");
    row("an empty and a full name", "FN:\r\nFN:A. Smith", "A. Smith");
    row("grouped", "item1.FN:Anna Smith", "Anna Smith");
    row("parameters", "FN;LANGUAGE=fi;X-A=\"b:c;d\":Anna Smith", "Anna Smith");
    row("lower case", "fn:Anna Smith", "Anna Smith");
    row("folded", "FN:Anna\r\n  Smi\r\n\tth", "Anna Smith");
    row("escapes", "FN:Smith\\, Anna\\; A\\\\B\\nC", "Smith, Anna; A\\B C");
    row("escapes in a name", "N:Smi\\;th;An\\,na;;;", "An,na Smi;th");
    row("colons", "FN:Anna: Smith", "Anna: Smith");
    row("percent signs", "FN:100% Anna %1 %s %n", "100% Anna %1 %s %n");
    row("trimmed", "FN:  Anna   Smith  ", "Anna Smith");
    row("photo before", "PHOTO;ENCODING=b;TYPE=JPEG:AAAA\r\n BBBB\r\n FN:No\r\nFN:Anna", "Anna");
    row("old photo", "PHOTO;ENCODING=BASE64:\r\n  AAAA\r\n  BBBB\r\n\r\nFN:Anna", "Anna");
    row("several nicknames", "NICKNAME:Annie,Ann", "Annie");
    row("several departments", "ORG:;Sales;North", "Sales North");
    row("invisible full name", "FN:\xe2\x80\x8b\r\nN:Smith;Anna;;;", "Anna Smith");
    row("invisible family name", "N:\xe2\x80\x8b;Anna;;;", "Anna");
    row("nothing visible", "FN:\xe2\x80\x8b\r\nN:\xc2\xad;;;;\r\nEMAIL:\xe3\x85\xa4", QString());
    row("better one later", "EMAIL:a@b.c\r\nNICKNAME:Annie\r\nEMAIL:d@e.f", "Annie");
    row("no colon", "FN Anna Smith", QString());
    row("no name, and parameters", ";TYPE=FN:Anna", QString());
    row("no name", "TEL:+358401234567\r\nNOTE:FN:Anna", QString());
    row("group", "FN:The Team\r\nKIND:group", QString());
    row("group of another server", "X-ADDRESSBOOKSERVER-KIND:Group\r\nFN:The Team", QString());
    row("mailing list", "FN:The List\r\nX-EVOLUTION-LIST:TRUE", QString());
    row("no mailing list", "FN:Anna\r\nX-EVOLUTION-LIST:FALSE", "Anna");
    row("person", "FN:Anna\r\nKIND:individual", "Anna");

    QTest::newRow("2.1") << card("N:Smith;Anna", "2.1") << "Anna Smith";
    QTest::newRow("4.0") << card("FN:Anna Smith", "4.0") << "Anna Smith";
    QTest::newRow("unknown version") << card("FN:Anna Smith", "9.9") << "Anna Smith";
    QTest::newRow("no version") << QByteArray("BEGIN:VCARD\nFN:Anna Smith\nEND:VCARD")
                                << "Anna Smith";
    QTest::newRow("plain line ends")
        << QByteArray("begin:vcard\nfn:Anna Smith\nend:vcard\n") << "Anna Smith";
    QTest::newRow("never ended") << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Anna Smith")
                                 << "Anna Smith";
}

void VCardReaderTest::label()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, label);
    QCOMPARE(labelsOf(text), label.isNull() ? QStringList() : QStringList{label});
}

void VCardReaderTest::severalCards_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("labels");
    const QByteArray anna = card("FN:Anna");
    const QByteArray berta = card("N:;Berta;;;");
    QTest::newRow("none") << QByteArray() << QStringList();
    QTest::newRow("two") << anna + berta << QStringList{"Anna", "Berta"};
    QTest::newRow("rubbish between")
        << anna + "rubbish\r\n:;=\r\n\r\n" + berta << QStringList{"Anna", "Berta"};
    QTest::newRow("nameless between")
        << anna + card("TEL:1") + berta << QStringList{"Anna", "Berta"};
    QTest::newRow("first left open")
        << QByteArray("BEGIN:VCARD\r\nFN:Anna\r\n") + berta << QStringList{"Anna", "Berta"};
    QTest::newRow("agent's card") << card("FN:Anna\r\nAGENT:\r\n" + card("FN:Agent") + "X:y") +
                                         berta
                                  << QStringList{"Anna", "Berta"};
    // No property, and so no agent either, whose card would follow.
    QTest::newRow("a line with an empty head")
        << QByteArray("BEGIN:VCARD\r\nFN:Anna\r\n:x.AGENT\r\n") + berta
        << QStringList{"Anna", "Berta"};
    QTest::newRow("a line without a value")
        << QByteArray("BEGIN:VCARD\r\nFN:Anna\r\nAGENT\r\n") + berta
        << QStringList{"Anna", "Berta"};
    QTest::newRow("each in its encoding")
        << card("FN:J\xc3\xb6rg") + card("FN:J\xf6rg") + card("FN:J\xc3\xb6rg")
        << QStringList{utf8("J\xc3\xb6rg"), utf8("J\xc3\xb6rg"), utf8("J\xc3\xb6rg")};
    QTest::newRow("files put together, with marks")
        << "\xef\xbb\xbf" + anna + "\xef\xbb\xbf" + berta << QStringList{"Anna", "Berta"};
    QTest::newRow("end without begin") << QByteArray("END:VCARD\r\n") + anna << QStringList{"Anna"};
    QTest::newRow("a calendar") << QByteArray("BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nFN:No\r\n"
                                              "END:VEVENT\r\nEND:VCALENDAR\r\n") +
                                       anna
                                << QStringList{"Anna"};
    QTest::newRow("outside of cards") << QByteArray("FN:No\r\n") + anna + "FN:No\r\n"
                                      << QStringList{"Anna"};
}

void VCardReaderTest::severalCards()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, labels);
    QCOMPARE(labelsOf(text), labels);
}

void VCardReaderTest::labelIsShortAndVisible_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("label");
    QTest::newRow("long") << QByteArray(3000, 'x') << QString(100, 'x');
    QTest::newRow("very long") << QByteArray(5000000, 'x') << QString(100, 'x');
    QTest::newRow("long, folded") << QByteArray(400, 'x').replace("xxxx", "xxxx\r\n ")
                                  << QString(100, 'x');
    // Cut within a character, which is no reason to take it for another encoding.
    QTest::newRow("long, not Latin")
        << QByteArray("\xc3\xbc").repeated(3000) << utf8("\xc3\xbc").repeated(100);
    // Outside the basic plane: two units each, and not cut between them.
    QTest::newRow("emoji") << QByteArray("x") + QByteArray("\xf0\x9f\x98\x80").repeated(80)
                           << "x" + utf8("\xf0\x9f\x98\x80").repeated(49);
    QTest::newRow("control characters") << QByteArray("An\x01\x1b[31m\x7fna\x07") << "An [31m na";
    QTest::newRow("NUL") << QByteArray("An\0na", 5) << "An na";
    QTest::newRow("line breaks") << QByteArray("An\\nna\\NSmith") << "An na Smith";
    QTest::newRow("broken UTF-8") << QByteArray("M\xc3") << utf8("M\xc3\x83");
}

void VCardReaderTest::labelIsShortAndVisible()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, label);
    QCOMPARE(labelsOf(card("FN:" + name)), QStringList{label});
}

void VCardReaderTest::encodings_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("label");
    const QString name = utf8("J\xc3\xb6rg M\xc3\xbcller");
    QTest::newRow("UTF-8") << card("FN:" + name.toUtf8()) << name;
    QTest::newRow("UTF-8 with a mark") << "\xef\xbb\xbf" + card("FN:" + name.toUtf8()) << name;
    QTest::newRow("Latin-1, not told") << card("FN:" + name.toLatin1(), "2.1") << name;
    QTest::newRow("Latin-1, told")
        << card("FN;CHARSET=ISO-8859-1:" + name.toLatin1(), "2.1") << name;
    QTest::newRow("quoted printable")
        << card("FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:J=C3=B6rg=20M=C3=BCller", "2.1")
        << name;
    QTest::newRow("quoted printable, folded")
        << card("FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:J=C3=B6rg=\r\n=20M=C3=BC=\r\nller",
                "2.1")
        << name;
    QTest::newRow("quoted printable name")
        << card("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=B6rg;;;", "2.1")
        << name;
    QTest::newRow("a sign of equality at the end") << card("FN:Anna=\r\nX:y", "2.1") << "Anna=";
    QTest::newRow("folded within a character") << card("FN:J\xc3\r\n \xb6rg M\xc3\xbcller") << name;
    QTest::newRow("wrong bytes in another line")
        << card("NOTE:\xff\xfe\xc3\r\nFN:" + name.toUtf8()) << name;
    QTest::newRow("a broken mark before")
        << "\xef\xbb\xbf" + card("NOTE:\xff\r\nFN:J\xc3\r\n \xb6rg "
                                 "M\xc3\xbcller")
        << name;
    QTest::newRow("UTF-8 told, and not so") << card("FN;CHARSET=UTF-8:" + name.toLatin1()) << name;
    QTest::newRow("unknown encoding told") << card("FN;CHARSET=KLINGON:" + name.toUtf8()) << name;
    QTest::newRow("another encoding told")
        << card("FN;CHARSET=KOI8-R:\xe1\xce\xce\xc1") << QString::fromUtf8("Анна");
    QTest::newRow("the other old Latin one") << card("FN:\x8aime") << QString::fromUtf8("Šime");
    QTest::newRow("quoted printable, Latin-1, not told")
        << card("FN;ENCODING=QUOTED-PRINTABLE:J=F6rg M=FCller", "2.1") << name;
    QTest::newRow("quoted printable, a blank behind the fold")
        << card("FN;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:J=C3=B6rg=\r\n M=C3=BCller", "2.1")
        << name;
    const QString text = QString::fromUtf8(card("FN:" + name.toUtf8()));
    QTest::newRow("UTF-16") << QByteArray(reinterpret_cast<const char*>(
                                              QString(QChar(0xfeff) + text).utf16()),
                                          2 * (text.size() + 1))
                            << name;
}

void VCardReaderTest::encodings()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, label);
    QCOMPARE(labelsOf(text), QStringList{label});
}

void VCardReaderTest::lineEnds_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<QByteArray>("other");
    QTest::newRow("\\r\\n") << QByteArray("\r\n") << QByteArray("\r\n");
    QTest::newRow("\\n") << QByteArray("\n") << QByteArray("\n");
    QTest::newRow("\\r") << QByteArray("\r") << QByteArray("\r");
    QTest::newRow("\\r and \\n") << QByteArray("\r") << QByteArray("\n");
    QTest::newRow("\\r\\n and \\r") << QByteArray("\r\n") << QByteArray("\r");
    QTest::newRow("\\n and \\r\\n") << QByteArray("\n") << QByteArray("\r\n");
    QTest::newRow("\\n and \\r") << QByteArray("\n") << QByteArray("\r");
}

void VCardReaderTest::lineEnds()
{
    QFETCH(QByteArray, end);
    QFETCH(QByteArray, other);
    QByteArray text = card("FN:Anna\r\n  Smith\r\nNOTE:x") + "\r\n" +
                      card("N;ENCODING=QUOTED-PRINTABLE:Bold;=\r\nBerta", "2.1") +
                      card("FN:Caesar");
    // One end after the other, by turns.
    QByteArray mixed;
    for (const QByteArray& line : text.replace("\r\n", "\n").split('\n')) {
        mixed += line + end;
        std::swap(end, other);
    }
    QCOMPARE(labelsOf(mixed), QStringList({"Anna Smith", "Berta Bold", "Caesar"}));
}

void VCardReaderTest::textsFollowEachOther()
{
    VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    QCOMPARE(reader.labels(), QStringList());
    reader.add(card("FN:Anna"));
    reader.add("BEGIN:VCARD\r\nFN:Berta");
    reader.add(card("FN:Caesar"));
    QCOMPARE(reader.labels(), QStringList({"Anna", "Berta", "Caesar"}));
    QVERIFY(!reader.wasCutShort());
}

void VCardReaderTest::manyKeepTheirOrder()
{
    QByteArray text;
    QStringList labels;
    for (int i = 0; i < 333; ++i) {
        const QByteArray name = "Friend" + QByteArray::number(i);
        text += card(i % 3 == 0 ? "FN:" + name : i % 3 == 1 ? "N:;" + name + ";;;" : "ORG:" + name);
        labels.append(name);
    }
    QCOMPARE(labelsOf(text), labels);
}

void VCardReaderTest::nothingIsReadWithoutTime()
{
    VCardReader reader{QDeadlineTimer(0)};
    reader.add("");
    QVERIFY(!reader.wasCutShort()); // There was nothing to read.
    reader.add(card("FN:Anna"));
    QCOMPARE(reader.labels(), QStringList());
    QVERIFY(reader.wasCutShort());
}

void VCardReaderTest::readingEndsWithTheTime()
{
    const QByteArray one = card("N:Smith;Anna;;;\r\nNICKNAME:Annie\r\nEMAIL:a@example.org");
    steadyclock::takeOver(1);
    VCardReader reader{QDeadlineTimer(100, Qt::PreciseTimer)};
    reader.add(one.repeated(500));
    const int looks = steadyclock::looks();
    reader.add(one.repeated(500));
    const int laterLooks = steadyclock::looks() - looks;
    steadyclock::giveBack();
    QVERIFY(reader.wasCutShort());
    // The time is looked at with every card, and what comes after the end is not even begun.
    QVERIFY2(looks >= 95 && looks <= 105, qPrintable(QString::number(looks)));
    QVERIFY(reader.labels().size() >= 90 && reader.labels().size() <= 100);
    QVERIFY(laterLooks <= 1);
    QCOMPARE(reader.labels().first(), QString("Anna Smith"));
}

void VCardReaderTest::largeRubbishIsQuick_data()
{
    QTest::addColumn<QByteArray>("text");
    const int size = 8 * 1024 * 1024;
    QTest::newRow("one line") << QByteArray(size, 'x');
    QTest::newRow("one name") << "BEGIN:VCARD\nFN:" + QByteArray(size, 'x');
    QTest::newRow("line ends") << QByteArray(size, '\n');
    QTest::newRow("colons") << QByteArray(size, ':');
    QTest::newRow("quotation marks") << QByteArray(size, '"');
    QTest::newRow("folds") << "FN:" + QByteArray("x\n ").repeated(size / 3);
    QTest::newRow("quoted folds") << "BEGIN:VCARD\nFN;QUOTED-PRINTABLE:" +
                                         QByteArray("=\n").repeated(size / 2);
    QTest::newRow("beginnings") << QByteArray("BEGIN:VCARD\n").repeated(size / 12);
    QTest::newRow("agents") << QByteArray("AGENT:\nBEGIN:VCARD\n").repeated(size / 19);
    QTest::newRow("photo") << card("PHOTO:" + QByteArray("AAAA\r\n ").repeated(size / 7));
    QTest::newRow("not UTF-8") << QByteArray(size, '\xff');
}

void VCardReaderTest::largeRubbishIsQuick()
{
    QFETCH(QByteArray, text);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(labelsOf(text).size() <= 1);
    // The largest file that is read, on a slow machine with a sanitizer.
    QVERIFY2(timer.elapsed() < 15000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(VCardReaderTest)
#include "vcardreadertest.moc"
