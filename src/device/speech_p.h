#pragma once

#include "device/speech.h"

#include "platform/childprocess.h"

#include <QString>
#include <QStringList>
#include <QThread>
#include <QTime>
#include <QVector>

#include <cstdio>

/// The synthesiser process and what it was last asked to say. It is a thread only by descent:
/// nobody starts it, since QProcess never blocks.
class SpeechTread : public QThread
{
public:
    SpeechTread();
    ~SpeechTread() override;

    /// Reads a pipe to its end and closes it: the way of speaking through popen() that QProcess
    /// replaced. Kept for a system without processes of Qt's; needs `pipe` to be open.
    void run() override;

    FILE* pipe; ///< Never opened, see run().
    QTime stopwatch;
    platform::ChildProcess process;
    QString lastLine;
    QStringList arguments;
    int estimatedMillis;
};

struct Speech::SpeechPrivate
{
    SpeechPrivate();

    int unused; ///< Keeps the record's form.
    QString gapOption;
    QString speedOption;
    SpeechTread thread;
    QVector<int> unusedQueue; ///< Always empty: lines are never queued.
};
