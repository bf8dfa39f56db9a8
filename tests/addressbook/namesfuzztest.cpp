#include "demo/demobuilder.h"
#include "demo/demomain.h"
#include "device/friends.h"
#include "device/speech.h"
#include "support/files.h"
#include "support/logcapture.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string_view>

namespace {

/// Pieces that names are made of, and that are known to have done harm.
constexpr std::string_view PIECES[] = {"Anna",
                                       "Smith",
                                       " ",
                                       "  ",
                                       "\t",
                                       "%s",
                                       "%n",
                                       "%1",
                                       "%2",
                                       "%99",
                                       "%",
                                       "%%",
                                       "%L1",
                                       "\"",
                                       "'",
                                       "`id`",
                                       "$(id)",
                                       ";",
                                       "\\;",
                                       ",",
                                       "\\,",
                                       "\\n",
                                       "\\N",
                                       "\\",
                                       "\\\\",
                                       "|",
                                       "&",
                                       "<",
                                       ">",
                                       "<speak>",
                                       "&amp;",
                                       "[[h@'loU]]",
                                       "-",
                                       "--help",
                                       "-f/etc/passwd",
                                       ":",
                                       "=",
                                       "=3D",
                                       "=0A",
                                       "=00",
                                       "=\r\n",
                                       "\r\n ",
                                       "\r\n\t",
                                       "\n",
                                       "\r",
                                       std::string_view("\0", 1),
                                       "\x01",
                                       "\x1b[2J",
                                       "\x7f",
                                       "\xc2\x85",
                                       "\xc2\xa0",
                                       "\xc3",
                                       "\xff\xfe",
                                       "\xef\xbb\xbf",
                                       "\xef\xbf\xbf",
                                       "\xed\xa0\x80",
                                       "\xf4\x90\x80\x80",
                                       "\xe2\x80\xae",
                                       "\xe2\x80\x8b",
                                       "\xe2\x80\xa8",
                                       "\xe2\x81\xa6",
                                       "\xe3\x85\xa4",
                                       "\xef\xb8\x8f",
                                       "\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d",
                                       "\xd8\xb3\xd9\x84\xd8\xa7\xd9\x85",
                                       "\xe5\xbc\xa0\xe4\xbc\x9f",
                                       "\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x92\xbb",
                                       "\xcc\x81\xcc\x82\xcc\x83\xcc\x84",
                                       "\xef\xb7\xba",
                                       "END:VCARD",
                                       "BEGIN:VCARD",
                                       "FN:",
                                       "N:;;",
                                       "AGENT:\r\n",
                                       "QUOTED-PRINTABLE",
                                       "http://example.org/?a=b&c=d",
                                       "anna@example.org"};

constexpr std::string_view HEADS[] = {"FN",
                                      "N",
                                      "NICKNAME",
                                      "ORG",
                                      "EMAIL",
                                      "item1.FN",
                                      "fn",
                                      "FN;ENCODING=QUOTED-PRINTABLE",
                                      "N;QUOTED-PRINTABLE;CHARSET=UTF-8",
                                      "FN;CHARSET=UTF-16",
                                      "FN;CHARSET=",
                                      "FN;CHARSET=no-such-charset",
                                      "FN;ENCODING=BASE64",
                                      "FN;ENCODING=b",
                                      "FN;X=\"a:b",
                                      "N;SORT-AS=\"a,b;c\"",
                                      "KIND",
                                      "AGENT",
                                      "PHOTO;ENCODING=b",
                                      "NOTE",
                                      "X-EVOLUTION-LIST",
                                      "VERSION",
                                      ".",
                                      "",
                                      ";",
                                      "a.b.c.FN"};

/// Cards as nobody should write them, the same ones for the same seed.
class CardMaker
{
public:
    explicit CardMaker(unsigned int seed) : random(seed) {}

    QByteArray text()
    {
        QByteArray cards;
        const int count = below(30);
        for (int i = 0; i < count; ++i) {
            cards += card();
        }
        damage(cards);
        return cards;
    }

private:
    int below(int limit)
    {
        return static_cast<int>(random() % static_cast<unsigned int>(limit));
    }

    template <int size>
    QByteArray oneOf(const std::string_view (&choices)[size])
    {
        const std::string_view choice = choices[below(size)];
        return QByteArray(choice.data(), static_cast<int>(choice.size()));
    }

    QByteArray value()
    {
        QByteArray value;
        const int pieces = 1 + below(8);
        for (int i = 0; i < pieces; ++i) {
            value += oneOf(PIECES).repeated(below(12) == 0 ? below(400) : 1);
        }
        return value;
    }

    QByteArray card()
    {
        const std::string_view versions[] = {"2.1", "3.0", "4.0", "9", ""};
        QByteArray card = below(40) == 0 ? "" : "BEGIN:VCARD\r\n";
        card += "VERSION:" + oneOf(versions) + "\r\n";
        const int lines = 1 + below(5);
        for (int i = 0; i < lines; ++i) {
            card += oneOf(HEADS) + (below(30) == 0 ? "" : ":") + value() + "\r\n";
        }
        return card + (below(40) == 0 ? "" : "END:VCARD\r\n");
    }

    void damage(QByteArray& text)
    {
        const int kind = below(6);
        for (int i = 0; kind == 0 && !text.isEmpty() && i < 20; ++i) {
            text[below(text.size())] = static_cast<char>(below(256));
        }
        if (kind == 1) {
            text.truncate(below(text.size() + 1));
        } else if (kind == 2) {
            text = text.mid(below(text.size() + 1)) + text;
        } else if (kind == 3) {
            text.replace("\r\n", below(2) == 0 ? "\n" : "\r");
        } else if (kind == 4 && below(4) == 0) {
            const QString wide = QChar(0xfeff) + QString::fromUtf8(text);
            text = QByteArray(reinterpret_cast<const char*>(wide.utf16()), 2 * wide.size());
        }
    }

    std::mt19937 random;
};

bool isHarmless(const QString& name)
{
    for (int i = 0; i < name.size(); ++i) {
        const QChar c = name.at(i);
        const bool whole = c.isHighSurrogate()
                               ? i + 1 < name.size() && name.at(i + 1).isLowSurrogate()
                               : !c.isLowSurrogate() || (i > 0 && name.at(i - 1).isHighSurrogate());
        // Joiners are part of what they join; any other sign of format may turn the line around.
        const bool isFormat =
            c.category() == QChar::Other_Format && c != QChar(0x200c) && c != QChar(0x200d);
        if (c.category() == QChar::Other_Control || isFormat || !whole) {
            return false;
        }
    }
    return !name.isEmpty() && name.size() <= 100;
}

} // namespace

/// Hostile address books, from the file to what is spoken, written on the screen and logged.
///
/// Runs for PIXMOTH_FUZZ_SECONDS (8) from the seed PIXMOTH_FUZZ_SEED (1); a failure names the seed
/// to begin with in order to see it at once.
class NamesFuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void hostileNames();

private:
    void play(unsigned int seed);

    QTemporaryDir folder;
    int names = 0;
    int spoken = 0;
};

void NamesFuzzTest::initTestCase()
{
    QVERIFY(QDir(folder.path()).mkpath("data/contacts"));
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.filePath("data")));
    QVERIFY(writeScript(folder.filePath("espeak"),
                        "#!/bin/sh\nprintf %s \"$5\" > \"${0%/*}/heard\"\n"));
    qputenv("PATH", QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));
}

void NamesFuzzTest::hostileNames()
{
    const int seconds = qEnvironmentVariableIsSet("PIXMOTH_FUZZ_SECONDS")
                            ? qEnvironmentVariableIntValue("PIXMOTH_FUZZ_SECONDS")
                            : 8;
    const int first = qEnvironmentVariableIsSet("PIXMOTH_FUZZ_SEED")
                          ? qEnvironmentVariableIntValue("PIXMOTH_FUZZ_SEED")
                          : 1;
    QElapsedTimer timer;
    timer.start();
    int seed = first;
    for (; timer.elapsed() < seconds * 1000 || seed < first + 10; ++seed) {
        play(static_cast<unsigned int>(seed));
        if (QTest::currentTestFailed()) {
            qWarning("Seen with PIXMOTH_FUZZ_SEED=%i", seed);
            return;
        }
    }
    printf("           %i address books, %i names of theirs, %i lines spoken\n", seed - first,
           names, spoken);
    QVERIFY(names > seed - first);
    QVERIFY(spoken >= seed - first);
}

void NamesFuzzTest::play(unsigned int seed)
{
    CardMaker maker(seed);
    for (const char* name : {"a.vcf", "b.vcf"}) {
        QFile file(folder.filePath(QString("data/contacts/") + name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(maker.text());
    }

    LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QWidget widget;
    DemoMain demo(&widget);
    Friends* friends = demo.friends();
    qsrand(seed);
    friends->query();
    // The seven of the show stand in for an empty book.
    const bool fromBook = log.platformLines().filter("No contacts").isEmpty();
    names += fromBook ? 3 : 0;
    for (int i = 0; i < 40; ++i) {
        QVERIFY2(isHarmless(friends->name(i)), qPrintable(friends->name(i)));
    }

    const QVector<QSharedPointer<DemoPart>> parts = DemoBuilder().build(demo);
    const QStringList begins = {"Who is ", "And who is ", "How about "};
    const int friendIndices[] = {0, 2, 3};
    QStringList texts;
    QImage screen(256, 256, QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < begins.size(); ++i) {
        const QString name = friends->name(friendIndices[i]);
        texts.append(begins.at(i) + name);
        const auto part = std::find_if(parts.begin(), parts.end(), [&](const auto& candidate) {
            return candidate->text == texts.last();
        });
        QVERIFY2(part != parts.end(), qPrintable("no part says " + texts.last()));
        QCOMPARE((*part)->caption, name);
        QPainter painter(&screen);
        painter.drawText(20, 20, (*part)->caption);
    }
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));

    const QString text = texts.at(static_cast<int>(seed % 3));
    log.clear();
    demo.speech()->speak(text);
    QVERIFY(QTest::qWaitFor([&demo] { return demo.speech()->isReady(); }));
    QCOMPARE(log.lines(QtDebugMsg),
             QStringList({"-ven-us+f3 -g0  -s150  \"" + text + "\"",
                          QString("Approx time: %1").arg(80 * text.size())}));
    QCOMPARE(log.platformLines(), QStringList());
    QFile heard(folder.filePath("heard"));
    QVERIFY(heard.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(heard.readAll()), '"' + text + '"');
    spoken += 1;
}

QTEST_MAIN(NamesFuzzTest)
#include "namesfuzztest.moc"
