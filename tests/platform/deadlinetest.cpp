#include "platform/deadline.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

/// The way out of a process, with and without something on it that hangs.
class DeadlineTest : public QObject
{
    Q_OBJECT

private slots:
    void hanging_data();
    void hanging();
    void inTime();
    void laterCallCounts();
    void limitIsExact_data();
    void limitIsExact();

private:
    /// Runs `way` in a process of its own.
    void leave(void (*way)());

    int status = 0;
    qint64 ms = 0;
    QByteArray told;
};

namespace {

/// For ever, also where a signal handler returns.
void hangInACall()
{
    for (;;) {
        ::pause();
    }
}

void hangInALock()
{
    static std::mutex lock;
    lock.lock();
    lock.lock();
}

void blockAlarm()
{
    sigset_t all;
    sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    std::signal(SIGALRM, SIG_IGN);
}

} // namespace

void DeadlineTest::leave(void (*way)())
{
    int ends[2];
    QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
    QElapsedTimer timer;
    timer.start();
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(ends[1], STDERR_FILENO);
        way();
        ::_exit(99);
    }
    ::close(ends[1]);
    // Not for ever: a way that is never over is a failure, and is to be told as one.
    while (::waitpid(child, &status, WNOHANG) == 0) {
        if (timer.elapsed() > 20000) {
            ::kill(child, SIGKILL);
        }
        QTest::qSleep(5);
    }
    ms = timer.elapsed();
    char bytes[1000];
    const ssize_t count = ::read(ends[0], bytes, sizeof bytes);
    told = QByteArray(bytes, static_cast<int>(qMax<ssize_t>(count, 0)));
    ::close(ends[0]);
}

void DeadlineTest::hanging_data()
{
    QTest::addColumn<int>("where");
    QTest::newRow("in a call") << 0;
    QTest::newRow("in a lock") << 1;
    QTest::newRow("in a loop") << 2;
    QTest::newRow("with all signals blocked before") << 3;
    QTest::newRow("on the way through exit()") << 4;
}

void DeadlineTest::hanging()
{
    QFETCH(int, where);
    void (*const ways[])() = {
        [] {
            platform::endWithin(1100, 0);
            hangInACall();
        },
        [] {
            platform::endWithin(1100, 0);
            hangInALock();
        },
        [] {
            platform::endWithin(1100, 0);
            for (volatile unsigned int i = 0;; i = i + 1) {
            }
        },
        [] {
            blockAlarm();
            platform::endWithin(1100, 0);
            hangInACall();
        },
        [] {
            platform::endWithin(1100, 0);
            std::atexit(hangInACall);
            std::exit(0);
        },
    };
    leave(ways[where]);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 0);
    QVERIFY2(ms >= 1090 && ms < 5000, qPrintable(QString::number(ms)));
    QCOMPARE(told, QByteArray("pixmoth.platform: Something hangs on the way out: ended without "
                              "it\n"));
}

void DeadlineTest::inTime()
{
    leave([] {
        platform::endWithin(5000, 7);
        ::usleep(50000);
        ::_exit(3);
    });
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 3);
    QVERIFY2(ms < 5000, qPrintable(QString::number(ms)));
    QCOMPARE(told, QByteArray());
}

void DeadlineTest::laterCallCounts()
{
    leave([] {
        platform::endWithin(60000, 5);
        platform::endWithin(100, 7);
        hangInACall();
    });
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 7);
    QVERIFY2(ms < 10000, qPrintable(QString::number(ms)));
}

void DeadlineTest::limitIsExact_data()
{
    QTest::addColumn<int>("limitMs");
    QTest::newRow("less than a second") << 999;
    QTest::newRow("whole seconds") << 2000;
    QTest::newRow("seconds and a part") << 1999;
}

void DeadlineTest::limitIsExact()
{
    QFETCH(int, limitMs);
    platform::endWithin(limitMs, 0);
    itimerval left = {};
    const itimerval never = {};
    // The timer that is replaced tells what it had left.
    QCOMPARE(::setitimer(ITIMER_REAL, &never, &left), 0);
    const qint64 us = left.it_value.tv_sec * 1000000LL + left.it_value.tv_usec;
    QVERIFY2(us <= limitMs * 1000LL, qPrintable(QString::number(us)));
    QVERIFY2(us > limitMs * 1000LL - 100000, qPrintable(QString::number(us)));
    QCOMPARE(left.it_interval.tv_sec, 0);
    QCOMPARE(left.it_interval.tv_usec, 0);
}

QTEST_GUILESS_MAIN(DeadlineTest)
#include "deadlinetest.moc"
