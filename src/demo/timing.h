#pragma once

/// The show's times in milliseconds, which its music is written to.

inline constexpr int TICK_MS = 50; ///< From frame to frame.

/// A part lasts so long, until the first tick after it, and on while its line is being spoken.
inline constexpr int FIRST_PART_MS = 4200;
inline constexpr int LATER_PART_MS = 4800;
