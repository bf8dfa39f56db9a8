#pragma once

#include "device/speech.h"

#include "platform/childprocess.h"

#include <QString>
#include <QStringList>
#include <QThread>
#include <QTime>
#include <QVector>

#include <cstdio>

/// The synthesiser process and what it was last asked to say. It derives from a thread that is
/// never started, since QProcess does not block.
class SpeechTread : public QThread
{
public:
    SpeechTread();
    ~SpeechTread() override;

    /// Reserve: reads a pipe to its end and closes it, the way of speaking through popen() that
    /// QProcess replaced. Needs `pipe` to be open.
    void run() override;

    FILE* pipe;      ///< Reserve, see run().
    QTime stopwatch; ///< Reserve, see run().
    platform::ChildProcess process;
    QString lastLine;
    QStringList arguments;
    int estimatedMillis;
};

struct Speech::SpeechPrivate
{
    SpeechPrivate();

    int unused; ///< Reserve.
    QString gapOption;
    QString speedOption;
    SpeechTread thread;
    QVector<int> unusedQueue; ///< Reserve: lines are never queued.
};
