// The simulator's time. The virtual clock stands still until it is moved, so an hour passes in
// milliseconds and every run is the same; the real clock is the host's. Everything that reads or
// waits for time goes through here: the event loop (event_loop.hpp), dispatch, Core Foundation's
// dates, and nanosleep.
#pragma once

#include <cstdint>

namespace simulator::clock {

/// Nanoseconds. Times count from the last restart of the clock.
using Time = std::int64_t;

inline constexpr Time second = 1'000'000'000;

/// A time that never comes.
inline constexpr Time never = INT64_MAX;

enum class Kind { virtualTime, realTime };

/// Sets the clock back to time 0. The virtual one then shows 2026-01-01T00:00:00Z.
void restart(Kind kind);
bool isVirtual();

Time now();
/// now() in seconds.
double seconds();
/// Seconds as a time; a negative number gives 0, and one that is too large `never`.
Time fromSeconds(double seconds);

/// Nanoseconds since the start of 1970, UTC.
std::int64_t date();

/// Moves the virtual clock to `time`; does nothing if that is past, or with the real clock.
void moveTo(Time time);

}  // namespace simulator::clock
