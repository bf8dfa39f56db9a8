#include "platform/silentservers.h"

#include "platform/busconnection.h"
#include "platform/knock.h"
#include "platform/servicelog.h"

#include <QByteArray>
#include <QtEndian>

namespace platform {

namespace {

const char NOWHERE[] = "unix:path=/nonexistent";
const char NO_SOUND_SERVER[] = "unix:/nonexistent";
const int SOUND_SERVER_MS = 2000;

/// The socket of the PulseAudio server, or of what stands in for it; empty for one that is not on
/// this machine or is not told of in the usual places.
QByteArray soundServerSocket()
{
    QByteArray told = qgetenv("PULSE_SERVER");
    if (told.isEmpty()) {
        const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
        return runtime.isEmpty() ? runtime : runtime + "/pulse/native";
    }
    if (told.startsWith('{')) {
        told.remove(0, told.indexOf('}') + 1); // The machine that the address is for.
    }
    if (told.startsWith("unix:")) {
        told.remove(0, 5);
    }
    return told.startsWith('/') ? told : QByteArray();
}

void appendNumber(QByteArray& packet, quint32 number)
{
    number = qToBigEndian(number);
    packet.append(reinterpret_cast<const char*>(&number), sizeof number);
}

/// PulseAudio's first words: an AUTH of protocol 13 with an empty cookie. The server knows its
/// user by the socket, or declines; either is an answer.
QByteArray soundServerHello()
{
    const int cookieSize = 256;
    QByteArray words;
    for (quint32 number : {8u, 0u, 13u}) { // AUTH, number of the call, version.
        words.append('L');
        appendNumber(words, number);
    }
    words.append('x');
    appendNumber(words, cookieSize);
    words.append(QByteArray(cookieSize, '\0'));

    QByteArray packet;
    for (quint32 number : {static_cast<quint32>(words.size()), 0xFFFFFFFFu, 0u, 0u, 0u}) {
        appendNumber(packet, number); // Size, no stream, no offset in two words, no flags.
    }
    return packet + words;
}

} // namespace

void avoidSilentServers()
{
    if (!sessionBusIsAlive()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", NOWHERE);
    }
    if (knock(soundServerSocket(), soundServerHello(), SOUND_SERVER_MS) == Life::Silent) {
        qCWarning(lcPlatform, "No sound: the sound server does not answer");
        qputenv("PULSE_SERVER", NO_SOUND_SERVER);
    }
}

} // namespace platform
