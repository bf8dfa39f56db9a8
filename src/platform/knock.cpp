#include "platform/knock.h"

#include <QByteArray>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform {

namespace {

bool answers(int socketFd, const QByteArray& greeting, int limitMs)
{
    if (::send(socketFd, greeting.constData(), static_cast<size_t>(greeting.size()),
               MSG_NOSIGNAL) != greeting.size()) {
        return false;
    }
    pollfd waiting = {socketFd, POLLIN, 0};
    char answer = 0;
    return ::poll(&waiting, 1, limitMs) == 1 && ::recv(socketFd, &answer, 1, 0) == 1;
}

} // namespace

Life knock(const QByteArray& socketName, const QByteArray& greeting, int limitMs)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (socketName.isEmpty() || socketName.size() >= static_cast<int>(sizeof(address.sun_path))) {
        return Life::Nobody;
    }
    const auto size = static_cast<size_t>(socketName.size());
    std::memcpy(address.sun_path, socketName.constData(), size);
    const size_t length =
        offsetof(sockaddr_un, sun_path) + size + (socketName.at(0) == '\0' ? 0 : 1);

    const int socketFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    Life life = Life::Nobody;
    if (::connect(socketFd, reinterpret_cast<const sockaddr*>(&address),
                  static_cast<socklen_t>(length)) == 0) {
        life = answers(socketFd, greeting, limitMs) ? Life::Alive : Life::Silent;
    } else if (errno == EAGAIN) {
        life = Life::Silent; // So many wait at its door that there is no room for another.
    }
    ::close(socketFd);
    return life;
}

} // namespace platform
