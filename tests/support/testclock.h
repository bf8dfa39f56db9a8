#pragma once

/// The clock of every QTime in a test binary that links this: QTime asks gettimeofday(), which is
/// defined here. It shows the real time until a test takes it over.
namespace testclock {

/// Stops the clock at noon.
void takeOver();
/// Shows the real time again.
void giveBack();
/// Moves a clock that is taken over; `milliseconds` may be negative.
void advance(int milliseconds);

} // namespace testclock
