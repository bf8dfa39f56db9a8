#include "demo/timestep.h"

#include "support/logcapture.h"
#include "support/testclock.h"

#include <QTest>
#include <QTime>

#include <optional>
#include <type_traits>

// A value like its two clocks: nothing is to be done when one goes.
static_assert(std::is_trivially_destructible_v<TimeStep>);

namespace {
/// What every QTime in this binary reads, when set: the toolkit's own never turns negative.
std::optional<int> reading;
} // namespace

int QTime::elapsed() const
{
    if (reading) {
        return *reading;
    }
    const int difference = msecsTo(QTime::currentTime());
    return difference < 0 ? difference + 86'400'000 : difference;
}

class TimeStepTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void stepsAreClamped_data();
    void stepsAreClamped();
    void negativeTimeIsOneMillisecond();
    void clockSetBackIsAStall();
    void jumpIsCutOff_data();
    void jumpIsCutOff();
    void jumpUpWithinTheLimitIsKept();
    void frameAndTimeStep();
    void millisPerFrameIsTheWholeRun();
    void resetLeavesTheStep();
    void parameterIsStored();
    void nrandInSteps_data();
    void nrandInSteps();
    void nrandDrawsOnce();
};

void TimeStepTest::init()
{
    testclock::takeOver();
}

void TimeStepTest::stepsAreClamped_data()
{
    QTest::addColumn<QVector<int>>("advances");
    QTest::addColumn<int>("step");
    QTest::newRow("first of 50") << QVector<int>{50} << 50;
    QTest::newRow("nothing passed") << QVector<int>{0} << 0;
    QTest::newRow("250 is cut off") << QVector<int>{250} << 200;
    QTest::newRow("exactly 200") << QVector<int>{200} << 200;
    QTest::newRow("201 is cut off") << QVector<int>{201} << 200;
    QTest::newRow("30 after a stall of 240") << QVector<int>{240, 30} << 30;
    QTest::newRow("two stalls") << QVector<int>{240, 1000} << 200;
}

void TimeStepTest::stepsAreClamped()
{
    QFETCH(QVector<int>, advances);
    QFETCH(int, step);
    TimeStep timeStep(0);
    for (int advance : advances) {
        testclock::advance(advance);
        timeStep.updateTimeStep();
    }
    QCOMPARE(timeStep.stepMillis, step);
}

void TimeStepTest::negativeTimeIsOneMillisecond()
{
    TimeStep timeStep(0);
    testclock::advance(100);
    timeStep.updateTimeStep();
    LogCapture log;
    reading = -5;
    timeStep.updateTimeStep();
    reading.reset();
    QCOMPARE(log.lines(QtWarningMsg), QStringList{"TimeStep: Negative time!"});
    QCOMPARE(timeStep.stepMillis, 1);
    QCOMPARE(timeStep.stepClock.elapsed(), 0);
}

void TimeStepTest::clockSetBackIsAStall()
{
    // A QTime that is set back takes the rest for a day that has passed.
    TimeStep timeStep(0);
    testclock::advance(-5);
    timeStep.updateTimeStep();
    QCOMPARE(timeStep.stepMillis, 200);
}

void TimeStepTest::jumpIsCutOff_data()
{
    QTest::addColumn<int>("previous");
    QTest::addColumn<int>("measured");
    QTest::addColumn<int>("step");
    QTest::newRow("200 down is kept") << 300 << 100 << 100;
    QTest::newRow("201 down") << 301 << 100 << 200;
    QTest::newRow("200 up is kept") << -100 << 100 << 100;
    QTest::newRow("201 up") << -101 << 100 << 200;
    // Time that runs backwards is one millisecond, which is what is compared.
    QTest::newRow("200 down to negative time") << 201 << -5 << 1;
    QTest::newRow("201 down to negative time") << 202 << -5 << 200;
}

void TimeStepTest::jumpIsCutOff()
{
    QFETCH(int, previous);
    QFETCH(int, measured);
    QFETCH(int, step);
    TimeStep timeStep(0);
    // No run of steps leads there: each is cut off before it could be that far from the next.
    timeStep.stepMillis = previous;
    testclock::advance(77);
    reading = measured;
    timeStep.updateTimeStep();
    reading.reset();
    QCOMPARE(timeStep.stepMillis, step);
    QCOMPARE(timeStep.stepClock.elapsed(), 0);
}

void TimeStepTest::jumpUpWithinTheLimitIsKept()
{
    TimeStep timeStep(0);
    timeStep.updateTimeStep();
    testclock::advance(200);
    timeStep.updateTimeStep();
    QCOMPARE(timeStep.stepMillis, 200);
}

void TimeStepTest::frameAndTimeStep()
{
    TimeStep timeStep(0);
    testclock::advance(50);
    timeStep.updateTimeStep();
    QCOMPARE(timeStep.frameStep(20.0f), 1.0f);
    QCOMPARE(timeStep.timeStep(20.0f), 0.05f);
    QCOMPARE(timeStep.frameStep(60.0f), 3.0f);
}

void TimeStepTest::millisPerFrameIsTheWholeRun()
{
    TimeStep timeStep(0);
    for (int i = 1; i <= 4; ++i) {
        testclock::advance(50);
        timeStep.updateTimeStep();
        QCOMPARE(timeStep.millisPerFrame(), 50 * i);
    }
    QCOMPARE(timeStep.time().elapsed(), 200);
    timeStep.reset();
    QCOMPARE(timeStep.millisPerFrame(), 0);
}

void TimeStepTest::resetLeavesTheStep()
{
    TimeStep timeStep(0);
    testclock::advance(70);
    timeStep.updateTimeStep();
    testclock::advance(20);
    timeStep.reset();
    QCOMPARE(timeStep.stepMillis, 70);
    testclock::advance(30);
    timeStep.updateTimeStep();
    QCOMPARE(timeStep.stepMillis, 30);
}

void TimeStepTest::parameterIsStored()
{
    QCOMPARE(TimeStep(42).parameter, 42);
}

void TimeStepTest::nrandInSteps_data()
{
    QTest::addColumn<int>("draw");
    QTest::addColumn<float>("result");
    QTest::newRow("0") << 0 << -1.0f;
    QTest::newRow("31999") << 31999 << 0.9999375f;
    QTest::newRow("32000 wraps") << 32000 << -1.0f;
}

void TimeStepTest::nrandInSteps()
{
    QFETCH(int, draw);
    QFETCH(float, result);
    // The generator cannot be told what to draw, so seeds are tried until one draws it, modulo
    // the 32000 that count.
    for (unsigned int seed = 1; seed < 2000000; ++seed) {
        qsrand(seed);
        if (qrand() % 32000 == draw % 32000) {
            qsrand(seed);
            QCOMPARE(nrand(), result);
            return;
        }
    }
    QFAIL("no seed draws this number");
}

void TimeStepTest::nrandDrawsOnce()
{
    qsrand(7);
    qrand();
    const int next = qrand();
    qsrand(7);
    nrand();
    QCOMPARE(qrand(), next);
}

QTEST_GUILESS_MAIN(TimeStepTest)
#include "timesteptest.moc"
