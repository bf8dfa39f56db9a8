#include "demo/demobuilder.h"

#include "demo/demomain.h"
#include "device/friends.h"
#include "device/systemstate.h"
#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/logcapture.h"

#include <QSet>
#include <QTest>
#include <QWidget>

namespace {

const QStringList FOUR_FRIENDS = {"Anna Berg", "Bo", "Cleo Cox", "Dan"};

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

/// The whole show as it is to be on a phone; `friends` are the first, third and fourth of its
/// shuffled names.
QVector<Line> script(int level, int power, const QStringList& friends)
{
    const bool low = level < 30;
    const bool onTheWall = power == 2 || power == 3;
    const QString battery = QString("Battery ") + QString::number(level) + "%";

    Line seventh{"I know you are taking care of me", battery, 1, 1, "contrast", 0, 0, 0, 1, 1};
    if (level < 50) {
        seventh.text = low ? "Care about me more" : "You should understand my needs";
        seventh.face = 2;
    }
    Line eighth{"I love you", "", 1, 1, "contrast", 0, 0, 0, 1, 1};
    if (low && !onTheWall) {
        eighth.text = "Please plug me in my love";
        eighth.caption = "Plug me in";
        eighth.face = 0;
    }
    const QString& first = friends.at(0);
    const QString& third = friends.at(1);
    const QString& fourth = friends.at(2);
    return {
        {"", "", -1, 0, "contrast2", 2, 1, 0, 1, 1},
        {"", "", -1, 0, "contrast2", 3, 0, 0, 1, 1},
        {"", "Tramo", -1, 0, "contrast2", 4, 0, 0, 1, 1},
        {"My name is nokia n nine hundred", "", 0, 2, "contrast", 6, 0, 0, 1, 2},
        {"Do not call me cute", "", 0, 0, "contrast2", 1, 0, 1, 1, 1},
        {"", "", -1, 0, "contrast2", 1, 0, 0, 1, 1},
        seventh,
        eighth,
        {"But there is something", "", 1, 1, "contrast", 0, 0, 0, 1, 1},
        {"Who is " + first, first, 2, 0, "contrast2", 1, 0, 0, 1, 1},
        {"Your bitch?", "Bitch?", 2, 0, "contrast2", 6, 0, 0, 1, 1},
        {"And who is " + third, third, 2, 0, "contrast2", 6, 0, 0, 1, 1},
        {"Do not call me cute", "", 2, 0, "contrast2", 1, 0, 1, 1, 1},
        {"Do you call me cute", "", 0, 2, "contrast2", 6, 0, 1, 1, 2},
        {"How about " + fourth, fourth, 2, 0, "contrast2", 4, 0, 1, 1, 1},
        {"Do not call me cute", "", 1, 0, "contrast2", 1, 0, 1, 1, 1},
        {"", "", -1, 0, "contrast2", 1, 0, 0, 1, 1},
        {"Unless you mean it", "", -1, 0, "contrast2", 1, 0, 1, 1, 1},
        {"", "", -1, 0, "contrast2", 1, 2, 0, 1, 1},
    };
}

const int LEVELS[] = {-1, 0, 29, 30, 49, 50, 73, 100};
const int POWERS[] = {0, 1, 2, 3, 7};

} // namespace

class DemoBuilderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

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
};

void DemoBuilderTest::initTestCase()
{
    fakecontacts::use();
}

void DemoBuilderTest::script_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    QTest::addColumn<int>("number");
    for (int level : LEVELS) {
        for (int power : POWERS) {
            for (int number = 1; number <= 19; ++number) {
                QTest::addRow("battery %i, power %i, part %i", level, power, number)
                    << level << power << number;
            }
        }
    }
}

void DemoBuilderTest::script()
{
    QFETCH(int, level);
    QFETCH(int, power);
    QFETCH(int, number);
    Phone phone(level, power, FOUR_FRIENDS);
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    QCOMPARE(parts.size(), 19);
    Friends& friends = *phone.demo.friends();
    const Line line =
        ::script(level, power, {friends.name(0), friends.name(2), friends.name(3)}).at(number - 1);
    const DemoPart& part = *parts.at(number - 1);
    QCOMPARE(part.text, line.text);
    QCOMPARE(part.caption, line.caption);
    QCOMPARE(part.face, line.face);
    QCOMPARE(part.effect, line.effect);
    QCOMPARE(part.shader, line.shader);
    QCOMPARE(part.spread, line.spread);
    QCOMPARE(part.fade, line.fade);
    QCOMPARE(part.title, line.title);
    QCOMPARE(part.dimTrails, line.dimTrails);
    QCOMPARE(part.spare, line.spare);
    QCOMPARE(part.flag, false);
    QVERIFY(part.children.isEmpty());
    // No part speaks a line that is not there, so that the driver may ask for an empty one only.
    QVERIFY(!part.text.isNull());
}

void DemoBuilderTest::batteryLines_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("power");
    QTest::addColumn<QString>("seventh");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("eighth");
    const QString care = "Care about me more";
    const QString needs = "You should understand my needs";
    const QString known = "I know you are taking care of me";
    const QString love = "I love you";
    const QString plug = "Please plug me in my love";
    QTest::newRow("unknown, unplugged") << -1 << 1 << care << "Battery -1%" << plug;
    QTest::newRow("unknown, plugged in") << -1 << 3 << care << "Battery -1%" << love;
    QTest::newRow("empty, unplugged") << 0 << 1 << care << "Battery 0%" << plug;
    QTest::newRow("29, unplugged") << 29 << 1 << care << "Battery 29%" << plug;
    QTest::newRow("29, power unknown") << 29 << 0 << care << "Battery 29%" << plug;
    QTest::newRow("29, weird power") << 29 << 7 << care << "Battery 29%" << plug;
    QTest::newRow("29, on the wall") << 29 << 2 << care << "Battery 29%" << love;
    QTest::newRow("29, charging") << 29 << 3 << care << "Battery 29%" << love;
    QTest::newRow("30, unplugged") << 30 << 1 << needs << "Battery 30%" << love;
    QTest::newRow("49, unplugged") << 49 << 1 << needs << "Battery 49%" << love;
    QTest::newRow("50, unplugged") << 50 << 1 << known << "Battery 50%" << love;
    QTest::newRow("full") << 100 << 2 << known << "Battery 100%" << love;
    // Without separators, whatever the language.
    QTest::newRow("overfull") << 12345 << 2 << known << "Battery 12345%" << love;
}

void DemoBuilderTest::batteryLines()
{
    QFETCH(int, level);
    QFETCH(int, power);
    QFETCH(QString, seventh);
    QFETCH(QString, caption);
    QFETCH(QString, eighth);
    Phone phone(level, power, FOUR_FRIENDS);
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    QCOMPARE(parts.size(), 19);
    QCOMPARE(parts.at(6)->text, seventh);
    QCOMPARE(parts.at(6)->caption, caption);
    QCOMPARE(parts.at(7)->text, eighth);
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
    Phone phone(level, power, FOUR_FRIENDS);
    QCOMPARE(fakedevice::state().powerAsked, 0);
    phone.build();
    QCOMPARE(fakedevice::state().powerAsked, asked);
    // The level is the one that was heard last, without asking again.
    QCOMPARE(fakedevice::state().batteryAsked, 0);
}

void DemoBuilderTest::latestBatteryCounts()
{
    Phone phone(80, 1, FOUR_FRIENDS);
    fakedevice::notifyBattery(20);
    const QVector<QSharedPointer<DemoPart>> before = phone.build();
    fakedevice::notifyBattery(40);
    // What is written stays written.
    QCOMPARE(before.at(6)->text, QString("Care about me more"));
    QCOMPARE(before.at(6)->caption, QString("Battery 20%"));
    QCOMPARE(before.at(7)->text, QString("Please plug me in my love"));
    QCOMPARE(phone.build().at(6)->caption, QString("Battery 40%"));
}

void DemoBuilderTest::secondNameIsNeverUsed()
{
    Phone phone(80, 1, FOUR_FRIENDS);
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
    // A place for a name, within a name, is none.
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
    QCOMPARE(parts.size(), 19);
    QCOMPARE(parts.at(9)->text, "Who is " + name);
    QCOMPARE(parts.at(9)->caption, name);
    QCOMPARE(parts.at(11)->text, "And who is " + name);
    QCOMPARE(parts.at(11)->caption, name);
    QCOMPARE(parts.at(14)->text, "How about " + name);
    QCOMPARE(parts.at(14)->caption, name);
    // A name that looks like a place for one has no reach into other lines.
    QCOMPARE(parts.at(6)->caption, QString("Battery 80%"));
}

void DemoBuilderTest::namesOfTheShowsOwn()
{
    Phone phone(80, 1, {});
    const QStringList own = {"Olka", "Rovi", "Ferida", "Tasu", "Nelo-Vira", "Morela", "Vuffa"};
    const QVector<QSharedPointer<DemoPart>> parts = phone.build();
    QSet<QString> used;
    for (int number : {10, 12, 15}) {
        const QString caption = parts.at(number - 1)->caption;
        QVERIFY(own.contains(caption));
        QVERIFY(parts.at(number - 1)->text.endsWith(" " + caption));
        used.insert(caption);
    }
    QCOMPARE(used.size(), 3);
}

void DemoBuilderTest::buildDrawsNoNumbersAndLogsNothing()
{
    Phone phone(20, 1, FOUR_FRIENDS);
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
    Phone phone(20, 1, FOUR_FRIENDS);
    const QVector<QSharedPointer<DemoPart>> one = phone.build();
    const QVector<QSharedPointer<DemoPart>> two = phone.build();
    QSet<DemoPart*> parts;
    for (const QVector<QSharedPointer<DemoPart>>& list : {one, two}) {
        for (const QSharedPointer<DemoPart>& part : list) {
            parts.insert(part.data());
        }
    }
    QCOMPARE(parts.size(), 38);
    one.first()->text = "changed";
    QCOMPARE(two.first()->text, QString(""));
}

void DemoBuilderTest::showIsNotBuiltWithoutBeingAsked()
{
    // Before init() a show needs no GL context, and has asked nobody but its battery.
    fakedevice::reset();
    fakecontacts::setLabels(FOUR_FRIENDS);
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
