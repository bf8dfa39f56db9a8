#include "platform/polling.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

/// Waiting without the event loop.
class PollingTest : public QObject
{
    Q_OBJECT

private slots:
    void endsWhenItIsTold_data();
    void endsWhenItIsTold();
    void endsWithTheTime();
    void nobodyLooksAfterTheTime();
    void looksEveryMillisecond();
    void noEventLoopIsRun();
    void remainingTime_data();
    void remainingTime();
};

namespace {

const int LONG_MS = 60000;

} // namespace

void PollingTest::endsWhenItIsTold_data()
{
    QTest::addColumn<int>("wanted");
    QTest::newRow("at the first look") << 1;
    QTest::newRow("at the second look") << 2;
    QTest::newRow("later") << 20;
}

void PollingTest::endsWhenItIsTold()
{
    QFETCH(int, wanted);
    int looks = 0;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(platform::pollUntil(QDeadlineTimer(LONG_MS), [&] { return ++looks == wanted; }));
    QCOMPARE(looks, wanted);
    QVERIFY(timer.elapsed() < LONG_MS / 2);
}

void PollingTest::endsWithTheTime()
{
    int looks = 0;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!platform::pollUntil(QDeadlineTimer(100, Qt::PreciseTimer), [&] {
        ++looks;
        return false;
    }));
    const qint64 ms = timer.elapsed();
    QVERIFY2(ms >= 99 && ms < LONG_MS / 2, qPrintable(QString::number(ms)));
    QVERIFY(looks > 1);
}

void PollingTest::nobodyLooksAfterTheTime()
{
    bool looked = false;
    QVERIFY(!platform::pollUntil(QDeadlineTimer(0), [&] { return looked = true; }));
    QVERIFY(!looked);
}

void PollingTest::looksEveryMillisecond()
{
    int looks = 0;
    QElapsedTimer timer;
    timer.start();
    platform::pollUntil(QDeadlineTimer(LONG_MS), [&] { return ++looks == 51; });
    // No more often: it leaves the processor to whoever is to answer.
    QVERIFY2(timer.elapsed() >= 50, qPrintable(QString::number(timer.elapsed())));
}

void PollingTest::noEventLoopIsRun()
{
    bool hasRun = false;
    QTimer::singleShot(0, this, [&] { hasRun = true; });
    platform::pollUntil(QDeadlineTimer(20), [] { return false; });
    QVERIFY(!hasRun);
    QTRY_VERIFY(hasRun);
}

void PollingTest::remainingTime_data()
{
    QTest::addColumn<int>("limitMs");
    QTest::addColumn<int>("least");
    QTest::addColumn<int>("most");
    QTest::newRow("much") << LONG_MS << LONG_MS / 2 << LONG_MS;
    QTest::newRow("none") << 0 << 1 << 1;
    QTest::newRow("long over") << -1000 << 1 << 1;
}

void PollingTest::remainingTime()
{
    QFETCH(int, limitMs);
    QFETCH(int, least);
    QFETCH(int, most);
    const int ms = platform::remainingMs(
        QDeadlineTimer::addNSecs(QDeadlineTimer::current(), limitMs * 1000000LL));
    QVERIFY2(ms >= least && ms <= most, qPrintable(QString::number(ms)));
}

QTEST_GUILESS_MAIN(PollingTest)
#include "pollingtest.moc"
