#pragma once

#include "support/patience.h"

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTest>

/// Starts a sound server of a test's own at a socket. Its sink, "null", plays to nobody. True when
/// it is there; whoever calls this ends it, and has looked whether package pulseaudio is installed.
inline bool startSoundServer(QProcess& server, const QString& socket)
{
    server.setStandardErrorFile(QProcess::nullDevice());
    // A sink that could go back would play two seconds in advance from its start.
    server.start("pulseaudio", {"-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
                                "-L", "module-native-protocol-unix socket=" + socket, "-L",
                                "module-null-sink norewinds=1"});
    return QTest::qWaitFor([&] { return QFile::exists(socket); }, patiently(10000));
}
