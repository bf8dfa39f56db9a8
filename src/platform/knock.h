#pragma once

class QByteArray;

namespace platform {

enum class Life {
    Nobody, ///< There is no such socket, or nobody listens on it.
    Silent, ///< Somebody listens and does not answer, or hangs up: a library may wait for it.
    Alive
};

/// Connects to a local socket by its name, which begins with a NUL for one outside the file system,
/// says `greeting`, and waits up to `limitMs` for the first byte of an answer.
Life knock(const QByteArray& socketName, const QByteArray& greeting, int limitMs);

} // namespace platform
