#include "platform/knock.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using platform::knock;
using platform::Life;

/// Telling the living from the silent on local sockets.
class KnockTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void nobody_data();
    void nobody();
    void silent();
    void full();
    void answered_data();
    void answered();

private:
    /// A socket that listens, and has room for `backlog` who wait.
    int listening(int backlog);

    std::unique_ptr<QTemporaryDir> folder;
    QByteArray name;
};

namespace {
const QByteArray HELLO("hello");
} // namespace

void KnockTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    name = folder->filePath("door").toUtf8();
}

int KnockTest::listening(int backlog)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    const int socketFd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool bound =
        ::bind(socketFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return bound && (backlog < 0 || ::listen(socketFd, backlog) == 0) ? socketFd : -1;
}

void KnockTest::nobody_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("no name") << QByteArray();
    QTest::newRow("nothing there") << QByteArray("/nonexistent");
    QTest::newRow("no socket") << QByteArray("/etc/passwd");
    QTest::newRow("too long") << QByteArray(200, 'x');
    QTest::newRow("outside the file system") << QByteArray("\0pixmoth/nobody", 15);
}

void KnockTest::nobody()
{
    QFETCH(QByteArray, name);
    QVERIFY(knock(name, HELLO, 5000) == Life::Nobody);
}

void KnockTest::silent()
{
    const int listener = listening(8);
    QVERIFY(listener >= 0);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(knock(name, HELLO, 50) == Life::Silent);
    QVERIFY2(timer.elapsed() >= 49, qPrintable(QString::number(timer.elapsed())));
    ::close(listener);
    // The file is still there; nobody is behind it.
    QVERIFY(knock(name, HELLO, 5000) == Life::Nobody);
}

void KnockTest::full()
{
    const int listener = listening(0);
    QVERIFY(listener >= 0);
    QLocalSocket waiting;
    waiting.connectToServer(QString::fromUtf8(name));
    QVERIFY(waiting.waitForConnected());
    QElapsedTimer timer;
    timer.start();
    QVERIFY(knock(name, HELLO, 5000) == Life::Silent);
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    ::close(listener);
}

void KnockTest::answered_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("alive");
    QTest::newRow("word") << QByteArray("welcome") << true;
    QTest::newRow("single byte") << QByteArray(1, '\0') << true;
    QTest::newRow("hangs up") << QByteArray() << false;
}

void KnockTest::answered()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, alive);
    const int listener = listening(8);
    QVERIFY(listener >= 0);
    QByteArray heard(HELLO.size(), '?');
    std::thread server([&] {
        const int guest = ::accept(listener, nullptr, nullptr);
        ::recv(guest, heard.data(), static_cast<size_t>(heard.size()), MSG_WAITALL);
        ::send(guest, answer.constData(), static_cast<size_t>(answer.size()), MSG_NOSIGNAL);
        ::close(guest);
    });
    const Life life = knock(name, HELLO, 5000);
    server.join();
    ::close(listener);
    QVERIFY(life == (alive ? Life::Alive : Life::Silent));
    QCOMPARE(heard, HELLO);
}

QTEST_GUILESS_MAIN(KnockTest)
#include "knocktest.moc"
