#pragma once

namespace platform {

/// Has the toolkit look for a Wayland compositor where the environment tells of one, of no X
/// server, and of no wish of the user's. By itself it would look for X, and end this process,
/// unless the session says of itself what it is, which one that was started from a console does
/// not.
///
/// Call it once, before the application is made, and while there are no other threads.
void chooseScreen();

} // namespace platform
