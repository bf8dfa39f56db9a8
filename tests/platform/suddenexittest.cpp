#include "platform/suddenexit.h"

#include <QCoreApplication>
#include <QTest>

#include <cstdlib>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

/// What an exit() leaves undone.
class SuddenExitTest : public QObject
{
    Q_OBJECT

private slots:
    void libraryLoaded_data();
    void libraryLoaded();
};

namespace {

int pipeEnds[2];

/// Stands for a library that unloads itself.
void unload()
{
    if (::write(pipeEnds[1], "unloaded", 8) != 8) {
        ::_exit(99);
    }
}

} // namespace

void SuddenExitTest::libraryLoaded_data()
{
    QTest::addColumn<QString>("order"); // Of the calls, and of what a library enters.
    QTest::addColumn<bool>("applicationLives");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("screen dies") << "library call" << true << 1 << QByteArray();
    QTest::newRow("code is kept") << "library call" << true << 7 << QByteArray();
    QTest::newRow("main has returned") << "library call" << false << 7 << QByteArray("unloaded");
    QTest::newRow("loaded later") << "call library" << true << 1 << QByteArray("unloaded");
    QTest::newRow("called again") << "call library call" << true << 1 << QByteArray();
    QTest::newRow("never called") << "library" << true << 1 << QByteArray("unloaded");
}

void SuddenExitTest::libraryLoaded()
{
    QFETCH(QString, order);
    QFETCH(bool, applicationLives);
    QFETCH(int, code);
    QFETCH(QByteArray, told);
    QCOMPARE(::pipe(pipeEnds), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeEnds[0]);
        int count = 1;
        char name[] = "suddenexittest";
        char* arguments[] = {name, nullptr};
        auto application = std::make_unique<QCoreApplication>(count, arguments);
        for (const QString& step : order.split(' ')) {
            if (step == "call") {
                platform::endOnTheSpotAtSuddenExit();
            } else {
                std::atexit(unload);
            }
        }
        if (!applicationLives) {
            application.reset();
        }
        std::exit(code);
    }
    ::close(pipeEnds[1]);
    char buffer[16];
    const ssize_t length = ::read(pipeEnds[0], buffer, sizeof buffer);
    ::close(pipeEnds[0]);
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), code);
    QCOMPARE(QByteArray(buffer, static_cast<int>(length)), told);
}

QTEST_APPLESS_MAIN(SuddenExitTest)
#include "suddenexittest.moc"
