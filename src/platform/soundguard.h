#pragma once

class QObject;

namespace platform {

/// Guards the beginning of the music against a sound server that freezes in its midst, after it was
/// found alive: making the player and starting it wait for the server in the GUI thread, and would
/// for a minute. Where that thread does nothing at all for 1.3 s, the connections made since this
/// call are shut down, which the sound library takes for the server's end, and the show goes on.
///
/// Call it right before the player is made. It is over once the event loop, with `owner` alive, has
/// run for two seconds; later nothing in the GUI thread waits for the server. Uses the process's
/// alarm.
void guardBeginningOfMusic(QObject* owner);

} // namespace platform
