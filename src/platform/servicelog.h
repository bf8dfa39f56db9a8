#pragma once

#include <QLoggingCategory>

class QMediaPlayer;
class QProcess;
class QString;

/// The category of all that src/platform and src/addressbook have to tell, "pixmoth.platform".
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)

/// The show goes on without any of its services. What is missing is told here, one line each, in
/// the log category "pixmoth.platform", so that its own log lines stay what they are.
namespace platform {

/// Tells why there can be no show at all.
void reportNoPicture(const QString& reason);

/// Tells, once for the life of `player`, that it cannot play what it was given.
void reportPlaybackErrors(QMediaPlayer* player);

/// Whether the player may be given the file. It would wait for ever to open a pipe that nobody
/// writes to, so what is there and is no regular file is told and kept from it. One that is missing
/// is not: the player itself tells that.
bool canBePlayed(const QString& path);

/// Tells, once for the life of `process`, that its program could not be started, ended with an
/// error, or crashed.
void reportSpeechFailures(QProcess* process);

/// Tells that the address book gave no name; `error` is the store's own number, 0 for an empty one.
/// Of our own store nothing is told: it knows better why, and has said so.
void reportNoContacts(const QString& backEnd, int error);

/// Notes that somebody tells why nothing will be heard. True for the first in the life of the
/// process: whoever finds it out after them has nothing to add. A signal handler may call it.
bool noteNoSound();

/// Tells when the machine has neither a sound card nor a sound server to play on. A look at files
/// only: asking the sound system itself could wait for it.
void reportMissingSound();

} // namespace platform
