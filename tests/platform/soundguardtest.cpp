#include "platform/soundguard.h"

#include "platform/servicelog.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

/// A thread that waits for a server, and what comes of it.
class SoundGuardTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void waitingIsEnded();
    void olderConnectionsAreLeft();
    void pairsAreLeft();
    void whoWorksIsLeft();
    void lifeEndsTheGuard();

private:
    /// A connection to a server that says nothing.
    int connectToServer();
    /// How long nothing is heard, 5000 ms at most.
    static qint64 silenceOf(int fd);

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<QLocalServer> server;
    std::unique_ptr<QObject> owner;
};

void SoundGuardTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    server = std::make_unique<QLocalServer>();
    QVERIFY(server->listen(folder->filePath("sound")));
    owner = std::make_unique<QObject>();
}

void SoundGuardTest::cleanup()
{
    owner.reset();
    const itimerval never = {};
    ::setitimer(ITIMER_REAL, &never, nullptr);
}

int SoundGuardTest::connectToServer()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = server->fullServerName().toUtf8();
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? fd
                                                                                           : -1;
}

qint64 SoundGuardTest::silenceOf(int fd)
{
    QElapsedTimer timer;
    timer.start();
    pollfd waiting = {fd, POLLIN, 0};
    while (timer.elapsed() < 5000 &&
           ::poll(&waiting, 1, static_cast<int>(qMax<qint64>(5000 - timer.elapsed(), 0))) < 0) {
    }
    const qint64 ms = timer.elapsed();
    ::close(fd);
    return ms;
}

void SoundGuardTest::waitingIsEnded()
{
    platform::guardBeginningOfMusic(owner.get());
    const qint64 ms = silenceOf(connectToServer());
    QVERIFY2(ms >= 1200 && ms < 4000, qPrintable(QString::number(ms)));
    // As often as it takes: the player may try another way to the same server.
    const qint64 again = silenceOf(connectToServer());
    QVERIFY2(again < 4000, qPrintable(QString::number(again)));
    QVERIFY2(!platform::noteNoSound(), "another would tell it again");
}

void SoundGuardTest::olderConnectionsAreLeft()
{
    const int older = connectToServer();
    platform::guardBeginningOfMusic(owner.get());
    const qint64 ms = silenceOf(older);
    QVERIFY2(ms >= 4900, qPrintable(QString::number(ms)));
}

void SoundGuardTest::pairsAreLeft()
{
    platform::guardBeginningOfMusic(owner.get());
    int pair[2];
    QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    const qint64 ms = silenceOf(pair[0]);
    ::close(pair[1]);
    QVERIFY2(ms >= 4900, qPrintable(QString::number(ms)));
}

void SoundGuardTest::whoWorksIsLeft()
{
    platform::guardBeginningOfMusic(owner.get());
    const int fd = connectToServer();
    QElapsedTimer timer;
    timer.start();
    // Slow, but not still.
    while (timer.elapsed() < 3000) {
    }
    char byte = 0;
    QCOMPARE(::recv(fd, &byte, 1, MSG_DONTWAIT), static_cast<ssize_t>(-1));
    ::close(fd);
}

void SoundGuardTest::lifeEndsTheGuard()
{
    platform::guardBeginningOfMusic(owner.get());
    const int fd = connectToServer();
    QVERIFY(QTest::qWaitFor([this] { return owner->children().isEmpty(); }, 20000));
    const qint64 ms = silenceOf(fd);
    QVERIFY2(ms >= 4900, qPrintable(QString::number(ms)));
}

QTEST_GUILESS_MAIN(SoundGuardTest)
#include "soundguardtest.moc"
