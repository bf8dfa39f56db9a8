#include "demo/demobuilder.h"

#include "demo/demomain.h"
#include "device/friends.h"
#include "device/systemstate.h"
#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/logcapture.h"

#include <QFile>
#include <QSet>
#include <QTest>
#include <QWidget>

namespace {

QStringList fourFriends()
{
    return {"Anna Berg", "Bo", "Cleo Cox", "Dan"};
}

/// A phone with a show that is not yet on any screen.
struct Phone
{
    Phone(int level, int power, const QStringList& labels) : demo(prepared(level, power, labels))
    {
        qsrand(3);
        demo.friends()->query();
        fakedevice::state().batteryAsked = 0;
    }

    /// The device must have its battery before the show first looks at it.
    QWidget* prepared(int level, int power, const QStringList& labels)
    {
        fakedevice::reset();
        fakedevice::state().batteryLevel = level;
        fakedevice::state().powerState = power;
        fakecontacts::setLabels(labels);
        return &widget;
    }

    QVector<QSharedPointer<DemoPart>> build()
    {
        DemoBuilder builder;
        return builder.build(demo);
    }

    LogCapture log;
    QWidget widget;
    DemoMain demo;
};

/// One line of the script, every field of it.
struct Line
{
    QString text;
    QString caption;
    int face;
    int effect;
    QString shader;
    int spread;
    int fade;
    int title;
    int dimTrails;
    int spare;
};

/// For the names of what a part holds.
struct Script : DemoPart
{
    static QVector<Line> expected(int level, int power, const QStringList& friends);
};

/// The whole show as it is to be on a phone; `friends` are the first, third and fourth of its
/// shuffled names.
QVector<Line> Script::expected(int level, int power, const QStringList& friends)
{
    const bool low = level < 30;
    const bool onTheWall = power == 2 || power == 3;
    const QString battery = QString("Battery ") + QString::number(level) + "%";

    Line seventh{"I know you are taking care of me",
                 battery,
                 TenderFace,
                 Tunnel,
                 "contrast",
                 OneQuad,
                 NoFade,
                 NoTitle,
                 1,
                 1};
    if (level < 50) {
        seventh.text = low ? "Care about me more" : "You should understand my needs";
        seventh.face = JealousFace;
    }
    Line eighth{"I love you", "", TenderFace, Tunnel, "contrast", OneQuad, NoFade, NoTitle, 1, 1};
    if (low && !onTheWall) {
        eighth.text = "Please plug me in my love";
        eighth.caption = "Plug me in";
        eighth.face = CoyFace;
    }
    const QString& first = friends.at(0);
    const QString& third = friends.at(1);
    const QString& fourth = friends.at(2);
    return {
        {"", "", NoFace, Tree, "contrast2", 2, FadeIn, NoTitle, 1, 1},
        {"", "", NoFace, Tree, "contrast2", 3, NoFade, NoTitle, 1, 1},
        {"", "Tramo", NoFace, Tree, "contrast2", 4, NoFade, NoTitle, 1, 1},
        {"My name is nokia n nine hundred", "", CoyFace, Lattice, "contrast", 6, NoFade, NoTitle, 1,
         2},
        {"Do not call me cute", "", CoyFace, Tree, "contrast2", WideCopies, NoFade, PaintedTitle, 1,
         1},
        {"", "", NoFace, Tree, "contrast2", WideCopies, NoFade, NoTitle, 1, 1},
        seventh,
        eighth,
        {"But there is something", "", TenderFace, Tunnel, "contrast", OneQuad, NoFade, NoTitle, 1,
         1},
        {"Who is " + first, first, JealousFace, Tree, "contrast2", WideCopies, NoFade, NoTitle, 1,
         1},
        {"Your bitch?", "Bitch?", JealousFace, Tree, "contrast2", 6, NoFade, NoTitle, 1, 1},
        {"And who is " + third, third, JealousFace, Tree, "contrast2", 6, NoFade, NoTitle, 1, 1},
        {"Do not call me cute", "", JealousFace, Tree, "contrast2", WideCopies, NoFade,
         PaintedTitle, 1, 1},
        {"Do you call me cute", "", CoyFace, Lattice, "contrast2", 6, NoFade, PaintedTitle, 1, 2},
        {"How about " + fourth, fourth, JealousFace, Tree, "contrast2", 4, NoFade, PaintedTitle, 1,
         1},
        {"Do not call me cute", "", TenderFace, Tree, "contrast2", WideCopies, NoFade, PaintedTitle,
         1, 1},
        {"", "", NoFace, Tree, "contrast2", WideCopies, NoFade, NoTitle, 1, 1},
        {"Unless you mean it", "", NoFace, Tree, "contrast2", WideCopies, NoFade, PaintedTitle, 1,
         1},
        {"", "", NoFace, Tree, "contrast2", WideCopies, FadeOut, NoTitle, 1, 1},
    };
}

/// A part in words, every field of it.
QString told(const Line& line)
{
    const QStringList numbers = {
        QString("face %1").arg(line.face),     QString("effect %1").arg(line.effect),
        QString("spread %1").arg(line.spread), QString("fade %1").arg(line.fade),
        QString("title %1").arg(line.title),   QString("dimTrails %1").arg(line.dimTrails),
        QString("spare %1").arg(line.spare),
    };
    return QString("\"%1\", \"%2\", %3, ").arg(line.text, line.caption, line.shader) +
           numbers.join(", ");
}

QStringList told(const QVector<Line>& lines)
{
    QStringList texts;
    for (const Line& line : lines) {
        texts.append(told(line));
    }
    return texts;
}

QStringList told(const QVector<QSharedPointer<DemoPart>>& parts)
{
    QStringList texts;
    for (const QSharedPointer<DemoPart>& part : parts) {
        texts.append(
            told(Line{part->text, part->caption, part->face, part->effect, part->shader,
                      part->spread, part->fade, part->title, part->dimTrails, part->spare}));
    }
    return texts;
}

/// The first part whose caption begins like this, or which says this; a part of nothing where there
/// is none.
QSharedPointer<DemoPart> partWith(const QVector<QSharedPointer<DemoPart>>& parts,
                                  const QStringList& words)
{
    for (const QSharedPointer<DemoPart>& part : parts) {
        for (const QString& word : words) {
            if (part->text == word ||
                (!part->caption.isEmpty() && part->caption.startsWith(word))) {
                return part;
            }
        }
    }
    return QSharedPointer<DemoPart>::create();
}

QSharedPointer<DemoPart> batteryPart(const QVector<QSharedPointer<DemoPart>>& parts)
{
    return partWith(parts, {"Battery "});
}

QSharedPointer<DemoPart> lovePart(const QVector<QSharedPointer<DemoPart>>& parts)
{
    return partWith(parts, {"I love you", "Please plug me in my love"});
}

/// The parts that name a friend, by what they say.
QVector<QSharedPointer<DemoPart>> friendParts(const QVector<QSharedPointer<DemoPart>>& parts)
{
    QVector<QSharedPointer<DemoPart>> found;
    for (const QSharedPointer<DemoPart>& part : parts) {
        for (const char* begin : {"Who is ", "And who is ", "How about "}) {
            if (part->text.startsWith(begin)) {
                found.append(part);
            }
        }
    }
    return found;
}

const int LEVELS[] = {-1, 0, 29, 30, 49, 50, 73, 100};
const int POWERS[] = {0, 1, 2, 3, 7};

} // namespace

class DemoBuilderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void scriptIsListed();
    void everyPartHasItsPicture();
    void script_data();
    void script();
    void batteryLines_data();
    void batteryLines();
    void powerIsAskedOnlyWhenLow_data();
    void powerIsAskedOnlyWhenLow();
    void latestBatteryCounts();
    void secondNameIsNeverUsed();
    void anyNameIsTakenAsItIs_data();
    void anyNameIsTakenAsItIs();
    void namesOfTheShowsOwn();
    void buildDrawsNoNumbersAndLogsNothing();
    void everyBuildIsANewList();
    void showIsNotBuiltWithoutBeingAsked();

private:
    bool listed = false;
};

void DemoBuilderTest::initTestCase()
{
    fakecontacts::use();
}

void DemoBuilderTest::scriptIsListed()
{
    Phone phone(73, 1, fourFriends());
    const QStringList actual = told(phone.build());
    Friends& friends = *phone.demo.friends();
    const QStringList expected =
        told(Script::expected(73, 1, {friends.name(0), friends.name(2), friends.name(3)}));
    for (int i = 0; i < qMax(actual.size(), expected.size()); ++i) {
        QVERIFY2(
            actual.value(i) == expected.value(i),
            qPrintable(QString("part %1 of the script is\n    %2\nand here it is\n    %3\n"
                               "If the script is right, change Script::expected() in this "
                               "file.")
                           .arg(i + 1)
                           .arg(actual.value(i, "not there"), expected.value(i, "not there"))));
    }
    listed = true;
}

void DemoBuilderTest::everyPartHasItsPicture()
{
    if (!listed) {
        QSKIP("scriptIsListed comes first");
    }
    Phone phone(73, 1, fourFriends());
    QFile file(QFINDTESTDATA("../../docs/show.md"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString tour = QString::fromUtf8(file.readAll());
    const int parts = phone.build().size();
    for (int number = 1; number <= parts + 1; ++number) {
        const QString picture = QString("pictures/%1.jpg").arg(number, 2, 10, QChar('0'));
        const QString row = QString("| ![%1](%2) | **%1.** ").arg(number).arg(picture);
        const bool isDrawn = !QFINDTESTDATA("../../docs/" + picture).isEmpty();
        QVERIFY2(tour.contains(row) == (number <= parts) && isDrawn == (number <= parts),
                 qPrintable(QString("the script has %1 parts: tell each in a row of docs/show.md, "
                                    "here \"%2\", and run tools/make-pictures. A part in the "
                                    "middle gives those after it new numbers")
                                .arg(parts)
                                .arg(row)));
    }
}

void DemoBuilderTest::script_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    for (int level : LEVELS) {
        for (int power : POWERS) {
            QTest::addRow("battery %i, power %i", level, power) << level << power;
        }
    }
}

void DemoBuilderTest::script()
{
    if (!listed) {
        QSKIP("scriptIsListed says why");
    }
    QFETCH(int, level);
    QFETCH(int, power);
    Phone phone(level, power, fourFriends());
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    Friends& friends = *phone.demo.friends();
    QCOMPARE(told(parts), told(Script::expected(
                              level, power, {friends.name(0), friends.name(2), friends.name(3)})));
    for (const QSharedPointer<DemoPart>& part : parts) {
        QCOMPARE(part->flag, false);
        QVERIFY(part->children.isEmpty());
        // Empty, but never null: the driver asks whether it is empty.
        QVERIFY(!part->text.isNull());
    }
}

void DemoBuilderTest::batteryLines_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    QTest::addColumn<QString>("care");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("love");
    const QString cross = "Care about me more";
    const QString patient = "You should understand my needs";
    const QString content = "I know you are taking care of me";
    const QString fond = "I love you";
    const QString begging = "Please plug me in my love";
    QTest::newRow("unknown, unplugged") << -1 << 1 << cross << "Battery -1%" << begging;
    QTest::newRow("unknown, plugged in") << -1 << 3 << cross << "Battery -1%" << fond;
    QTest::newRow("empty, unplugged") << 0 << 1 << cross << "Battery 0%" << begging;
    QTest::newRow("29, unplugged") << 29 << 1 << cross << "Battery 29%" << begging;
    QTest::newRow("29, power unknown") << 29 << 0 << cross << "Battery 29%" << begging;
    QTest::newRow("29, weird power") << 29 << 7 << cross << "Battery 29%" << begging;
    QTest::newRow("29, on the wall") << 29 << 2 << cross << "Battery 29%" << fond;
    QTest::newRow("29, charging") << 29 << 3 << cross << "Battery 29%" << fond;
    QTest::newRow("30, unplugged") << 30 << 1 << patient << "Battery 30%" << fond;
    QTest::newRow("49, unplugged") << 49 << 1 << patient << "Battery 49%" << fond;
    QTest::newRow("50, unplugged") << 50 << 1 << content << "Battery 50%" << fond;
    QTest::newRow("full") << 100 << 2 << content << "Battery 100%" << fond;
    // Without separators, whatever the language.
    QTest::newRow("overfull") << 12345 << 2 << content << "Battery 12345%" << fond;
}

void DemoBuilderTest::batteryLines()
{
    QFETCH(int, level);
    QFETCH(int, power);
    QFETCH(QString, care);
    QFETCH(QString, caption);
    QFETCH(QString, love);
    Phone phone(level, power, fourFriends());
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    QCOMPARE(batteryPart(parts)->text, care);
    QCOMPARE(batteryPart(parts)->caption, caption);
    QCOMPARE(lovePart(parts)->text, love);
}

void DemoBuilderTest::powerIsAskedOnlyWhenLow_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    QTest::addColumn<int>("asked");
    for (int level : LEVELS) {
        for (int power : POWERS) {
            QTest::addRow("battery %i, power %i", level, power)
                << level << power << (level <= 29 ? 1 : 0);
        }
    }
}

void DemoBuilderTest::powerIsAskedOnlyWhenLow()
{
    QFETCH(int, level);
    QFETCH(int, power);
    QFETCH(int, asked);
    Phone phone(level, power, fourFriends());
    QCOMPARE(fakedevice::state().powerAsked, 0);
    phone.build();
    QCOMPARE(fakedevice::state().powerAsked, asked);
    // The level is the one that was heard last, without asking again.
    QCOMPARE(fakedevice::state().batteryAsked, 0);
}

void DemoBuilderTest::latestBatteryCounts()
{
    Phone phone(80, 1, fourFriends());
    fakedevice::notifyBattery(20);
    const QVector<QSharedPointer<DemoPart>> before = phone.build();
    fakedevice::notifyBattery(40);
    // A script that was built stays as it is.
    QCOMPARE(batteryPart(before)->text, QString("Care about me more"));
    QCOMPARE(batteryPart(before)->caption, QString("Battery 20%"));
    QCOMPARE(lovePart(before)->text, QString("Please plug me in my love"));
    QCOMPARE(batteryPart(phone.build())->caption, QString("Battery 40%"));
}

void DemoBuilderTest::secondNameIsNeverUsed()
{
    Phone phone(80, 1, fourFriends());
    Friends& friends = *phone.demo.friends();
    const QSet<QString> distinct = {friends.name(0), friends.name(1), friends.name(2),
                                    friends.name(3)};
    QCOMPARE(distinct.size(), 4);
    const QString unused = friends.name(1);
    QStringList used;
    for (const QSharedPointer<DemoPart>& part : phone.build()) {
        QVERIFY(!part->text.contains(unused));
        QVERIFY(!part->caption.contains(unused));
        if (distinct.contains(part->caption)) {
            used.append(part->caption);
        }
    }
    QCOMPARE(used, QStringList({friends.name(0), friends.name(2), friends.name(3)}));
}

void DemoBuilderTest::anyNameIsTakenAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << "Olka";
    QTest::newRow("empty") << "";
    // A %1 within a name is not replaced.
    QTest::newRow("%1") << "%1";
    QTest::newRow("%2") << "%2";
    QTest::newRow("%1 twice") << "%1x%1";
    QTest::newRow("%L1") << "%L1";
    QTest::newRow("%s") << "%s%n%i";
    QTest::newRow("percent sign") << "100%";
    QTest::newRow("quotation marks") << "\"Anna\"'";
    QTest::newRow("newline") << "Anna\nBerg";
    QTest::newRow("backslash") << "\\n\\";
    QTest::newRow("begins with a blank") << " Anna Berg";
    QTest::newRow("10,000 characters") << QString(10000, 'x');
    QTest::newRow("right to left") << QString::fromUtf8("נועה");
    QTest::newRow("beyond the first plane") << QString::fromUtf8("😀");
    QTest::newRow("combining") << QString::fromUtf8("Zoe\u0308");
}

void DemoBuilderTest::anyNameIsTakenAsItIs()
{
    QFETCH(QString, name);
    Phone phone(80, 1, {name});
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    QStringList lines;
    for (const QSharedPointer<DemoPart>& part : friendParts(parts)) {
        lines.append(part->text);
        QCOMPARE(part->caption, name);
    }
    QCOMPARE(lines, QStringList({"Who is " + name, "And who is " + name, "How about " + name}));
    // A name with a %1 changes no other line.
    QVERIFY(batteryPart(parts)->text.startsWith("I know"));
    QCOMPARE(batteryPart(parts)->caption, QString("Battery 80%"));
}

void DemoBuilderTest::namesOfTheShowsOwn()
{
    Phone phone(80, 1, {});
    const QStringList own = {"Olka", "Rovi", "Ferida", "Tasu", "Nelo-Vira", "Morela", "Vuffa"};
    QSet<QString> used;
    for (const QSharedPointer<DemoPart>& part : friendParts(phone.build())) {
        QVERIFY(own.contains(part->caption));
        QVERIFY(part->text.endsWith(" " + part->caption));
        used.insert(part->caption);
    }
    QCOMPARE(used.size(), 3);
}

void DemoBuilderTest::buildDrawsNoNumbersAndLogsNothing()
{
    Phone phone(20, 1, fourFriends());
    phone.log.clear();
    qsrand(71);
    const int expected = qrand();
    qsrand(71);
    phone.build();
    const int next = qrand();
    QCOMPARE(next, expected);
    QCOMPARE(phone.log.lines(), QStringList());
    QCOMPARE(phone.log.platformLines(), QStringList());
}

void DemoBuilderTest::everyBuildIsANewList()
{
    Phone phone(20, 1, fourFriends());
    const QVector<QSharedPointer<DemoPart>> one = phone.build();
    const QVector<QSharedPointer<DemoPart>> two = phone.build();
    QSet<DemoPart*> parts;
    for (const QVector<QSharedPointer<DemoPart>>& list : {one, two}) {
        for (const QSharedPointer<DemoPart>& part : list) {
            parts.insert(part.data());
        }
    }
    QCOMPARE(parts.size(), one.size() + two.size());
    one.first()->text = "changed";
    QCOMPARE(two.first()->text, QString(""));
}

void DemoBuilderTest::showIsNotBuiltWithoutBeingAsked()
{
    // Before init() a show needs no GL context, and has asked nobody but its battery.
    fakedevice::reset();
    fakecontacts::setLabels(fourFriends());
    LogCapture log;
    QWidget widget;
    DemoMain demo(&widget);
    QVERIFY(demo.friends() != nullptr);
    QVERIFY(demo.systemState() != nullptr);
    QCOMPARE(fakecontacts::fetched(), 0);
    QCOMPARE(fakedevice::state().batteryAsked, 1);
    QCOMPARE(fakedevice::state().powerAsked, 0);
}

QTEST_MAIN(DemoBuilderTest)
#include "demobuildertest.moc"
