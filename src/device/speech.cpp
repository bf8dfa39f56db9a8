#include "device/speech_p.h"

#include "platform/servicelog.h"

#include <QProcess>
#include <QtDebug>

namespace {
const int MILLIS_PER_CHARACTER = 80;
}

SpeechTread::SpeechTread() : pipe(nullptr), estimatedMillis(0) {}

SpeechTread::~SpeechTread() = default;

void SpeechTread::run()
{
    usleep(100);
    stopwatch.restart();
    while (!feof(pipe)) {
        fgetc(pipe);
        usleep(50);
    }
    pclose(pipe);
}

Speech::SpeechPrivate::SpeechPrivate() : unused(0), gapOption(" -g0 "), speedOption(" -s150 ") {}

Speech::Speech() : d(new SpeechPrivate)
{
    platform::reportSpeechFailures(&d->thread.process);
}

Speech::~Speech() = default;

bool Speech::isReady()
{
    return d->thread.process.state() == QProcess::NotRunning;
}

void Speech::speak(const QString& text)
{
    const QString voice("-ven-us+f3");
    const QString description = voice + d->gapOption + d->speedOption + " \"" + text + "\"";

    SpeechTread& thread = d->thread;
    // No shell strips the quotation marks; the synthesiser reads them as part of the text.
    thread.arguments = QStringList{voice, "-k20", d->gapOption.trimmed(), d->speedOption.trimmed(),
                                   "\"" + text + "\""};
    thread.estimatedMillis = text.length() * MILLIS_PER_CHARACTER;

    // The text is a value, never the format: a name may hold a percent sign.
    qDebug("%s", qUtf8Printable(description));
    qDebug("Approx time: %i", thread.estimatedMillis);

    thread.lastLine = text;
    thread.process.start("espeak", thread.arguments, QIODevice::ReadOnly);
}
