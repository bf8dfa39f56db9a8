#pragma once

/// The clock of every QDeadlineTimer and QElapsedTimer in a test binary that links this: they ask
/// clock_gettime(), which is defined here. It shows the real time until a test takes it over.
namespace steadyclock {

/// Stops the clock, but for this: each look at it takes so many milliseconds.
void takeOver(int millisecondsALook);
/// How often it was looked at since then.
int looks();
/// Goes on from the real time.
void giveBack();

} // namespace steadyclock
