#pragma once

#include <functional>

class QDeadlineTimer;

namespace platform {

/// Waits for answers without running the event loop, while the show is built and nothing else may
/// happen: calls `look` every millisecond until it answers true or `deadline` is reached, and tells
/// whether it did. Nobody looks where the time was over before.
bool pollUntil(const QDeadlineTimer& deadline, const std::function<bool()>& look);

/// The time that is left, as a D-Bus call takes its limit: in whole milliseconds, 1 at least. Not
/// for a deadline that is never reached.
int remainingMs(const QDeadlineTimer& deadline);

} // namespace platform
