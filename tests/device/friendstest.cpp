#include "device/friends.h"

#include "support/fakecontacts.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTest>

#include <climits>
#include <memory>

namespace {

/// The show's own names, in its order.
QStringList fallback()
{
    return {"Olka", "Rovi", "Ferida", "Tasu", "Nelo-Vira", "Morela", "Vuffa"};
}

QStringList names(Friends& friends, int count)
{
    QStringList result;
    for (int i = 0; i < count; ++i) {
        result.append(friends.name(i));
    }
    return result;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

/// The order that the draws to come make of a list.
QStringList mixed(QStringList list)
{
    const int count = list.size();
    for (int place = 0; place < count; ++place) {
        const int other = qrand() % count;
        const QString moved = list.at(place);
        list[place] = list.at(other);
        list[other] = moved;
    }
    return list;
}

} // namespace

class FriendsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void firstNameOfLabel_data();
    void firstNameOfLabel();
    void emptyBookGivesTheSevenOfTheShow();
    void noStoreGivesTheSevenOfTheShow();
    void bookOfEmptyLabelsIsNotEmpty();
    void everyContactIsFetchedAgain();
    void shuffleFollowsTheDraws_data();
    void shuffleFollowsTheDraws();
    void fallbackIsShuffledLikeAnyNames();
    void namesGoRound_data();
    void namesGoRound();
    void singleFriendIsEverywhere();
    void secondQueryAppends();
    void secondQueryAfterFallbackAppends();
    void namesOfTwoBooksAreApart();
    void largeBookIsQuick();
    void diesWithItsParent();
};

void FriendsTest::initTestCase()
{
    fakecontacts::use();
}

void FriendsTest::init()
{
    fakecontacts::use();
    fakecontacts::setLabels({});
    qsrand(1);
}

void FriendsTest::firstNameOfLabel_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("name");
    QTest::newRow("one word") << "Anna"
                              << "Anna";
    QTest::newRow("two words") << "Anna Berg"
                               << "Anna";
    QTest::newRow("three words") << "Anna von Berg"
                                 << "Anna";
    QTest::newRow("begins with a blank") << " Anna Berg"
                                         << " Anna Berg";
    QTest::newRow("two blanks before") << "  Anna"
                                       << "  Anna";
    QTest::newRow("a blank only") << " "
                                  << " ";
    QTest::newRow("ends with a blank") << "Anna "
                                       << "Anna";
    QTest::newRow("one letter") << "A Berg"
                                << "A";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("hyphen") << "Nelo-Vira Olo"
                            << "Nelo-Vira";
    QTest::newRow("tab is no blank") << "Anna\tBerg"
                                     << "Anna\tBerg";
    QTest::newRow("newline is no blank") << "Anna\nBerg"
                                         << "Anna\nBerg";
    QTest::newRow("no-break space is no blank")
        << QString("Anna") + QChar::Nbsp + "Berg" << QString("Anna") + QChar::Nbsp + "Berg";
    QTest::newRow("percent signs") << "%1%s Berg"
                                   << "%1%s";
    QTest::newRow("not Latin") << QString::fromUtf8("Зоя Берг") << QString::fromUtf8("Зоя");
    QTest::newRow("right to left") << QString::fromUtf8("נועה לוי") << QString::fromUtf8("נועה");
}

void FriendsTest::firstNameOfLabel()
{
    QFETCH(QString, label);
    QFETCH(QString, name);
    fakecontacts::setLabels({label});
    Friends friends;
    friends.query();
    QCOMPARE(friends.name(0), name);
}

void FriendsTest::emptyBookGivesTheSevenOfTheShow()
{
    LogCapture log;
    Friends friends;
    friends.query();
    QCOMPARE(sorted(names(friends, 7)), sorted(fallback()));
    QCOMPARE(friends.name(7), friends.name(0));
    QCOMPARE(log.platformLines(),
             QStringList{"No contacts: the store \"fakebook\" gave no name (error 0)"});
    QCOMPARE(log.lines(), QStringList());
}

void FriendsTest::noStoreGivesTheSevenOfTheShow()
{
    qputenv("QTCONTACTS_MANAGER_OVERRIDE", "nosuchbook");
    LogCapture log;
    Friends friends;
    friends.query();
    QCOMPARE(sorted(names(friends, 7)), sorted(fallback()));
    QCOMPARE(log.platformLines().size(), 1);
    QVERIFY2(log.platformLines().first().startsWith("No contacts: the store \"invalid\""),
             qPrintable(log.platformLines().first()));
}

void FriendsTest::bookOfEmptyLabelsIsNotEmpty()
{
    fakecontacts::setLabels({"", "", ""});
    LogCapture log;
    Friends friends;
    qsrand(5);
    friends.query();
    QCOMPARE(names(friends, 4), QStringList({"", "", "", ""}));
    QCOMPARE(log.platformLines(), QStringList());
    // Each of them is a name, and takes its draw.
    const int next = qrand();
    qsrand(5);
    mixed({"", "", ""});
    const int expected = qrand();
    QCOMPARE(next, expected);
}

void FriendsTest::everyContactIsFetchedAgain()
{
    // The list of a store may hold no labels; this one does not.
    fakecontacts::setLabels({"Anna A", "Bo B", "", "Cleo C", "Bo B"});
    LogCapture log;
    Friends friends;
    friends.query();
    QCOMPARE(fakecontacts::fetched(), 5);
    QCOMPARE(sorted(names(friends, 5)), QStringList({"", "Anna", "Bo", "Bo", "Cleo"}));
    QCOMPARE(log.platformLines(), QStringList());
    friends.name(2);
    QCOMPARE(fakecontacts::fetched(), 5);
}

void FriendsTest::shuffleFollowsTheDraws_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<unsigned int>("seed");
    for (int count : {1, 2, 3, 8, 100}) {
        for (unsigned int seed : {2u, 100u, 32451u}) {
            QTest::addRow("%i names, seed %u", count, seed) << count << seed;
        }
    }
}

void FriendsTest::shuffleFollowsTheDraws()
{
    QFETCH(int, count);
    QFETCH(unsigned int, seed);
    QStringList inStore;
    for (int i = 0; i < count; ++i) {
        inStore.append(QString("Friend%1").arg(i));
    }
    qsrand(seed);
    const QStringList expected = mixed(inStore);
    const int expectedNext = qrand();

    fakecontacts::setLabels(inStore);
    Friends friends;
    qsrand(seed);
    friends.query();
    const int next = qrand();
    QCOMPARE(names(friends, count), expected);
    QCOMPARE(next, expectedNext);
}

void FriendsTest::fallbackIsShuffledLikeAnyNames()
{
    LogCapture log;
    for (unsigned int seed = 2; seed < 40; ++seed) {
        qsrand(seed);
        const QStringList expected = mixed(fallback());
        const int expectedNext = qrand();
        Friends friends;
        qsrand(seed);
        friends.query();
        const int next = qrand();
        QCOMPARE(names(friends, 7), expected);
        QCOMPARE(next, expectedNext);
    }
}

void FriendsTest::namesGoRound_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("same");
    QTest::newRow("just past the last") << 3 << 0;
    QTest::newRow("second round") << 4 << 1;
    QTest::newRow("later") << 302 << 2;
    QTest::newRow("largest") << INT_MAX << INT_MAX % 3;
}

void FriendsTest::namesGoRound()
{
    QFETCH(int, index);
    QFETCH(int, same);
    fakecontacts::setLabels({"Anna", "Bo", "Cleo"});
    Friends friends;
    friends.query();
    QCOMPARE(friends.name(index), friends.name(same));
    QVERIFY(friends.name(same) != friends.name((same + 1) % 3));
    QVERIFY(friends.name(same) != friends.name((same + 2) % 3));
}

void FriendsTest::singleFriendIsEverywhere()
{
    fakecontacts::setLabels({"Anna Berg"});
    LogCapture log;
    Friends friends;
    friends.query();
    QCOMPARE(names(friends, 5), QStringList({"Anna", "Anna", "Anna", "Anna", "Anna"}));
    QCOMPARE(log.platformLines(), QStringList());
}

void FriendsTest::secondQueryAppends()
{
    fakecontacts::setLabels({"Anna", "Bo", "Cleo"});
    qsrand(9);
    QStringList expected = mixed({"Anna", "Bo", "Cleo"});
    expected = mixed(expected + QStringList{"Anna", "Bo", "Cleo"});

    Friends friends;
    qsrand(9);
    friends.query();
    friends.query();
    QCOMPARE(names(friends, 6), expected);
    QCOMPARE(friends.name(6), friends.name(0));
}

void FriendsTest::secondQueryAfterFallbackAppends()
{
    // The show's own names are names like others: they stay, and no further seven come.
    LogCapture log;
    Friends friends;
    friends.query();
    friends.query();
    QCOMPARE(sorted(names(friends, 7)), sorted(fallback()));
    QCOMPARE(friends.name(7), friends.name(0));
    fakecontacts::setLabels({"Anna"});
    friends.query();
    QCOMPARE(sorted(names(friends, 8)), sorted(fallback() + QStringList{"Anna"}));
}

void FriendsTest::namesOfTwoBooksAreApart()
{
    fakecontacts::setLabels({"Anna"});
    Friends one;
    one.query();
    fakecontacts::setLabels({"Bo"});
    Friends two;
    two.query();
    QCOMPARE(one.name(0), QString("Anna"));
    QCOMPARE(two.name(0), QString("Bo"));
}

void FriendsTest::largeBookIsQuick()
{
    const int count = 20000;
    QStringList labels;
    QStringList expected;
    for (int i = 0; i < count; ++i) {
        labels.append(QString("Friend%1 Family").arg(i));
        expected.append(QString("Friend%1").arg(i));
    }
    fakecontacts::setLabels(labels);
    Friends friends;
    QElapsedTimer timer;
    timer.start();
    friends.query();
    // The show waits for it at its start. Tenths of a second, unless something grows by the square.
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(fakecontacts::fetched(), count);
    QCOMPARE(sorted(names(friends, count)), sorted(expected));
}

void FriendsTest::diesWithItsParent()
{
    auto parent = std::make_unique<QObject>();
    QPointer<Friends> friends(new Friends(parent.get()));
    QCOMPARE(friends->metaObject()->className(), "Friends");
    parent.reset();
    QVERIFY(friends.isNull());
}

QTEST_GUILESS_MAIN(FriendsTest)
#include "friendstest.moc"
