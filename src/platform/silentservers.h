#pragma once

namespace platform {

/// Hides from this process the session's bus and the sound server where they do not answer: the
/// toolkit and the player would wait for them, 25 s for the one and for ever for the other. Where
/// no bus is told of, it keeps the bus library from starting one, on which nobody else would be,
/// and which would outlive the show. Call it once, before anything that looks for them.
///
/// A bus has 100 ms to answer, a sound server 2 s, since a connection may be what starts it.
void avoidSilentServers();

} // namespace platform
