#include "platform/soundguard.h"

#include "platform/alarm.h"
#include "platform/servicelog.h"

#include <QTimer>

#include <bitset>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform {

namespace {

/// Longer than anything in the set-up may wait without being frozen, the address book's 0.9 s.
const int STILL_MS = 1000;
/// Whoever is only slow, or was stopped, gets on in this time.
const int LOOK_AGAIN_MS = 300;

const int SIGN_OF_LIFE_MS = 100;
const int SIGNS_OF_LIFE = 20;

/// A thread that has spent more since the last look is at work. The look itself takes some
/// microseconds of it.
const long long BUSY_NS = 200'000;

const int NUM_FILES = 1024;
std::bitset<NUM_FILES> foreign;
pthread_t guiThread;
timespec spentBefore;
volatile std::sig_atomic_t told = 0;

/// True for the end of a connection to a server, which has an address; a pair of sockets has none.
bool isConnection(int fd)
{
    sockaddr_storage peer = {};
    socklen_t size = sizeof peer;
    return ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
           (peer.ss_family != AF_UNIX || size > offsetof(sockaddr_un, sun_path));
}

timespec timeSpent()
{
    clockid_t clock = 0;
    timespec spent = {};
    if (::pthread_getcpuclockid(guiThread, &clock) == 0) {
        ::clock_gettime(clock, &spent);
    }
    return spent;
}

/// Anything may be half done at this moment: nothing is called here that a signal may not.
void lookAfterIt(int)
{
    const int error = errno;
    const timespec spent = timeSpent();
    const long long usedNs =
        (spent.tv_sec - spentBefore.tv_sec) * 1'000'000'000LL + spent.tv_nsec - spentBefore.tv_nsec;
    spentBefore = spent;
    if (usedNs > BUSY_NS) {
        setAlarm(LOOK_AGAIN_MS);
        errno = error;
        return;
    }
    bool cut = false;
    for (int fd = 0; fd < NUM_FILES; ++fd) {
        if (!foreign.test(static_cast<size_t>(fd)) && isConnection(fd)) {
            ::shutdown(fd, SHUT_RDWR);
            cut = true;
        }
    }
    if (cut && !told) {
        told = 1;
        noteNoSound();
        const char line[] = "pixmoth.platform: No sound: the sound server has frozen\n";
        if (::write(STDERR_FILENO, line, sizeof line - 1) < 0) {
            // Standard error is closed, and there is nowhere else to say it.
        }
    }
    setAlarm(LOOK_AGAIN_MS);
    errno = error;
}

} // namespace

void guardBeginningOfMusic(QObject* owner)
{
    for (int fd = 0; fd < NUM_FILES; ++fd) {
        foreign.set(static_cast<size_t>(fd), isConnection(fd));
    }
    guiThread = ::pthread_self();
    spentBefore = {};
    told = 0;
    answerAlarm(lookAfterIt);
    setAlarm(STILL_MS);

    auto* life = new QTimer(owner);
    QObject::connect(life, &QTimer::timeout, life, [life, left = SIGNS_OF_LIFE]() mutable {
        spentBefore = {};
        setAlarm(STILL_MS);
        if (--left == 0) {
            setAlarm(0);
            life->stop();
            life->deleteLater();
        }
    });
    life->start(SIGN_OF_LIFE_MS);
}

} // namespace platform
