#pragma once

namespace platform {

/// From now on an exit() while the application object lives ends the process on the spot, with its
/// code and nothing else. That is how the toolkit and the libraries below it end when the screen
/// dies: in the midst of a frame, often out of the driver itself. The threads of the driver and of
/// the player are at work then, and an ordinary exit takes the libraries away from under them.
///
/// What is loaded after a call may still say its last words before the end; call it again when all
/// is loaded. An exit() after the application's death, with those threads joined, stays an ordinary
/// one.
void endOnTheSpotAtSuddenExit();

} // namespace platform
