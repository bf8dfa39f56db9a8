#include "platform/inquiry.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::Inquiry;

/// Questions that are answered, and questions that never are.
class InquiryTest : public QObject
{
    Q_OBJECT

private slots:
    void over_data();
    void over();
    void neverOver();
    void hasItsOwnMemory();
    void endsWhatTheQuestionStarted();
    void leavesNoChild();
    void signalsAreNoAnswer();
    void noRoomForAChild();
};

namespace {

const int LONG_MS = 60000;

void waitForEver()
{
    for (;;) {
        ::pause();
    }
}

/// One that is dead and not yet reaped has no command line.
bool isAlive(pid_t pid)
{
    QFile commandLine(QString("/proc/%1/cmdline").arg(pid));
    return commandLine.open(QIODevice::ReadOnly) && !commandLine.readAll().isEmpty();
}

} // namespace

void InquiryTest::over_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("at once") << "at once";
    QTest::newRow("later") << "later";
    QTest::newRow("by a crash") << "crash";
    QTest::newRow("by an end of the process") << "exit";
}

void InquiryTest::over()
{
    QFETCH(QString, how);
    const Inquiry inquiry([how] {
        if (how == "later") {
            ::usleep(200000);
        } else if (how == "crash") {
            ::raise(SIGKILL);
        } else if (how == "exit") {
            ::_exit(3);
        }
    });
    QElapsedTimer timer;
    timer.start();
    QVERIFY(inquiry.isOverBy(QDeadlineTimer(LONG_MS)));
    QVERIFY(timer.elapsed() < LONG_MS / 2);
    // Once over, it stays so.
    QVERIFY(inquiry.isOverBy(QDeadlineTimer(0)));
}

void InquiryTest::neverOver()
{
    const Inquiry inquiry(waitForEver);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!inquiry.isOverBy(QDeadlineTimer(200, Qt::PreciseTimer)));
    QVERIFY2(timer.elapsed() >= 190, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!inquiry.isOverBy(QDeadlineTimer(0)));
}

void InquiryTest::hasItsOwnMemory()
{
    int number = 1;
    const Inquiry inquiry([&number] { number = 2; });
    QVERIFY(inquiry.isOverBy(QDeadlineTimer(LONG_MS)));
    QCOMPARE(number, 1);
}

void InquiryTest::endsWhatTheQuestionStarted()
{
    int ends[2];
    QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
    pid_t started = 0;
    {
        const Inquiry inquiry([ends] {
            const pid_t child = ::fork();
            if (child > 0) {
                Q_UNUSED(::write(ends[1], &child, sizeof child));
            }
            waitForEver();
        });
        QCOMPARE(::read(ends[0], &started, sizeof started), static_cast<ssize_t>(sizeof started));
        QVERIFY(isAlive(started));
    }
    ::close(ends[0]);
    ::close(ends[1]);
    QTRY_VERIFY(!isAlive(started));
}

void InquiryTest::leavesNoChild()
{
    {
        const Inquiry first(waitForEver);
        const Inquiry second([] {});
    }
    QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

void InquiryTest::signalsAreNoAnswer()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction old = {};
    QCOMPARE(::sigaction(SIGALRM, &action, &old), 0);
    const itimerval often = {{0, 10000}, {0, 10000}};
    const itimerval never = {};

    const Inquiry later([] { ::usleep(300000); });
    const Inquiry silent(waitForEver);
    ::setitimer(ITIMER_REAL, &often, nullptr);
    QElapsedTimer timer;
    timer.start();
    const bool answered = later.isOverBy(QDeadlineTimer(LONG_MS));
    const qint64 after = timer.elapsed();
    const bool silentAnswered = silent.isOverBy(QDeadlineTimer(300, Qt::PreciseTimer));
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &old, nullptr);
    QVERIFY(answered);
    QVERIFY2(after >= 250 && after < LONG_MS / 2, qPrintable(QString::number(after)));
    QVERIFY(!silentAnswered);
}

void InquiryTest::noRoomForAChild()
{
    rlimit before;
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 3;
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
    bool over = false;
    {
        const Inquiry inquiry(waitForEver);
        over = inquiry.isOverBy(QDeadlineTimer(LONG_MS));
    }
    ::setrlimit(RLIMIT_NOFILE, &before);
    QVERIFY(over);
}

QTEST_GUILESS_MAIN(InquiryTest)
#include "inquirytest.moc"
