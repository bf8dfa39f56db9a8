#include "platform/childprocess.h"

#include "support/logcapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::ChildProcess;

namespace {

/// What happens between the fork and the child's word to the kernel.
bool parentDiesFirst = false;

bool isThere(qint64 pid)
{
    return QFile::exists(QString("/proc/%1").arg(pid));
}

} // namespace

/// In place of the C library's.
extern "C" int prctl(int option, ...) noexcept
{
    va_list list;
    va_start(list, option);
    const unsigned long value = va_arg(list, unsigned long);
    va_end(list);
    if (parentDiesFirst && option == PR_SET_PDEATHSIG) {
        const pid_t parent = ::getppid();
        ::kill(parent, SIGKILL);
        while (::getppid() == parent) {
            ::usleep(1000);
        }
    }
    using Prctl = int (*)(int, unsigned long, unsigned long, unsigned long, unsigned long);
    static const auto real = reinterpret_cast<Prctl>(::dlsym(RTLD_NEXT, "prctl"));
    return real(option, value, 0, 0, 0);
}

/// How a child of ours ends.
class ChildProcessTest : public QObject
{
    Q_OBJECT

private slots:
    void endsWithItsOwnerWithoutAWord_data();
    void endsWithItsOwnerWithoutAWord();
    void diesWithItsParent_data();
    void diesWithItsParent();
};

void ChildProcessTest::endsWithItsOwnerWithoutAWord_data()
{
    QTest::addColumn<bool>("started");
    QTest::newRow("just being started") << false;
    QTest::newRow("running") << true;
}

void ChildProcessTest::endsWithItsOwnerWithoutAWord()
{
    QFETCH(bool, started);
    LogCapture log;
    qint64 pid = 0;
    int told = 0;
    {
        ChildProcess process;
        connect(&process, &QProcess::errorOccurred, &process, [&told] { ++told; });
        connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &process,
                [&told] { ++told; });
        process.start("sleep", {"60"}, QIODevice::ReadOnly);
        pid = process.processId();
        QVERIFY(!started || process.waitForStarted());
        QVERIFY(isThere(pid));
    }
    QVERIFY(!isThere(pid));
    QCOMPARE(told, 0);
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(log.platformLines(), QStringList());
}

void ChildProcessTest::diesWithItsParent_data()
{
    QTest::addColumn<bool>("between");
    QTest::newRow("later") << false;
    QTest::newRow("between fork and exec") << true;
}

void ChildProcessTest::diesWithItsParent()
{
    QFETCH(bool, between);
    QTemporaryDir folder;
    const QString pidFile = folder.filePath("pid");
    const QString command =
        "echo $$ > " + pidFile + ".new; mv " + pidFile + ".new " + pidFile + "; exec sleep 60";
    const pid_t parent = ::fork();
    if (parent == 0) {
        parentDiesFirst = between;
        ChildProcess process;
        process.start("sh", {"-c", command}, QIODevice::ReadOnly);
        for (int i = 0; i < 1000 && !QFile::exists(pidFile); ++i) {
            ::usleep(10000);
        }
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    QCOMPARE(::waitpid(parent, &status, 0), parent);
    QVERIFY(WIFSIGNALED(status));
    if (between) {
        // It must never get as far as its program.
        QTest::qWait(1000);
    }
    QFile file(pidFile);
    const bool ran = file.open(QIODevice::ReadOnly);
    const qint64 pid = ran ? file.readAll().trimmed().toLongLong() : 0;
    // Dead and not yet reaped, it has no command line; not every machine reaps soon.
    const auto isDead = [pid] {
        QFile commandLine(QString("/proc/%1/cmdline").arg(pid));
        return !commandLine.open(QIODevice::ReadOnly) || commandLine.readAll().isEmpty();
    };
    const bool ended = !ran || QTest::qWaitFor(isDead);
    if (!ended) {
        ::kill(static_cast<pid_t>(pid), SIGKILL);
    }
    QVERIFY(ended);
    QCOMPARE(ran, !between);
}

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "childprocesstest.moc"
