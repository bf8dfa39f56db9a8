#include "platform/servicelog.h"

#include "platform/ownaddressbook.h"

#include <QDir>
#include <QFileInfo>
#include <QMediaContent>
#include <QMediaPlayer>
#include <QNetworkRequest>
#include <QProcess>
#include <QUrl>

#include <atomic>
#include <memory>

Q_LOGGING_CATEGORY(lcPlatform, "pixmoth.platform")

namespace platform {

void reportNoPicture(const QString& reason)
{
    qCCritical(lcPlatform, "No picture: %s", qUtf8Printable(reason));
}

void reportPlaybackErrors(QMediaPlayer* player)
{
    QObject::connect(
        player, QOverload<QMediaPlayer::Error>::of(&QMediaPlayer::error), player,
        [player, told = false](QMediaPlayer::Error) mutable {
            if (!told) {
                told = true;
                qCWarning(lcPlatform, "No music: %s (%s)", qUtf8Printable(player->errorString()),
                          qUtf8Printable(player->media().request().url().toLocalFile()));
            }
        });
}

bool canBePlayed(const QString& path)
{
    const QFileInfo file(path);
    if (file.exists() && !file.isFile()) {
        qCWarning(lcPlatform, "No music: %s is no regular file", qUtf8Printable(path));
        return false;
    }
    return true;
}

void reportSpeechFailures(QProcess* process)
{
    const auto tell = [process, told = std::make_shared<bool>(false)](const QString& what) {
        if (!*told) {
            *told = true;
            qCWarning(lcPlatform, "No speech: %s %s", qUtf8Printable(process->program()),
                      qUtf8Printable(what));
        }
    };
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, tell](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             tell("cannot be started (" + process->errorString() + ")");
                         }
                     });
    QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished),
                     process, [tell](int code, QProcess::ExitStatus status) {
                         if (status == QProcess::CrashExit) {
                             tell("crashed");
                         } else if (code != 0) {
                             tell("ended with code " + QString::number(code));
                         }
                     });
}

void reportNoContacts(const QString& backEnd, int error)
{
    if (backEnd != OWN_ADDRESS_BOOK) {
        qCWarning(lcPlatform, "No contacts: the store \"%s\" gave no name (error %i)",
                  qUtf8Printable(backEnd), error);
    }
}

bool noteNoSound()
{
    static std::atomic_flag told = ATOMIC_FLAG_INIT;
    return !told.test_and_set();
}

void reportMissingSound()
{
    const bool card = !QDir("/dev/snd").entryList({"pcmC*p"}, QDir::System | QDir::Files).isEmpty();
    // QStandardPaths would make a folder where the variable is not set.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool server = !qEnvironmentVariableIsEmpty("PULSE_SERVER") ||
                        QFileInfo::exists(runtime + "/pulse/native") ||
                        QFileInfo::exists(runtime + "/pipewire-0");
    if (!card && !server) {
        noteNoSound();
        qCWarning(lcPlatform, "No sound: neither a sound card nor a sound server is there");
    }
}

} // namespace platform
