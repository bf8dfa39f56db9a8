#pragma once

namespace platform {

/// Ends this process with `exitCode` in `limitMs`, if it has not ended by then, and says so in one
/// line on standard error. For the way out: whoever still waits for a frozen server, in whatever
/// library, is not asked. The kernel ends our children and closes our connections, and with these
/// the services let go what they did for us. Uses the process's alarm.
void endWithin(int limitMs, int exitCode);

} // namespace platform
