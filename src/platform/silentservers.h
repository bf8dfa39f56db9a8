#pragma once

namespace platform {

/// Hides from this process, and from those it starts, the session's bus, the system's bus and the
/// sound server where they do not answer: the toolkit and the player would wait for them, for
/// minutes or for ever. Each is told in one line. All are asked at once and have one second
/// together; one that is not there, or hangs up, is left alone, since nobody waits for it.
///
/// Where no bus is told of, it keeps the bus library from starting one, on which nobody else would
/// be, and which would outlive the show. Nor is the session's manager looked for.
///
/// Call it once, before anything that looks for them, and while there are no other threads.
void avoidSilentServers();

} // namespace platform
