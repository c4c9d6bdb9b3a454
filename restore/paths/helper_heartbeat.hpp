// The file that shows whether the helper is alive: it holds the time of its last sign of life. The
// helper touches it at start, on every safety tick and on every wake; the main application reads
// it. Nothing here logs, or throws except std::bad_alloc. Any thread may call it.
#pragma once

#include <optional>
#include <string>

namespace tolvaran::HelperHeartbeat {

/// A date: seconds since 1970-01-01 00:00 UTC.
using Date = double;

/// ".helper-heartbeat" in the state directory.
std::string defaultPath();

/// The age in seconds up to which a heartbeat counts as fresh by default.
inline constexpr double defaultStaleThreshold = 300.0;

/// The current time by the system's clock.
Date currentDate();

/// Writes `now` as whole milliseconds, truncated toward zero, after creating the directory.
/// @return false if the file could not be written, or the milliseconds are not finite or do not fit
///         in 64 bits; the old file then stays as it was
bool touch(const std::string& path, Date now);

/// The time of the last touch; none if the file is missing, cannot be read or does not hold a
/// decimal integer.
std::optional<Date> lastTouch(const std::string& path);

/// Seconds from the last touch to `now`, negative if the touch is later; none without a touch.
std::optional<double> age(const std::string& path, Date now);

/// Whether the last touch is at most `threshold` seconds old. One in the future counts as fresh,
/// so that a clock that was set back does not make a living helper look dead.
bool isFresh(const std::string& path, Date now, double threshold = defaultStaleThreshold);

/// Removes the file; failures are ignored.
void clear(const std::string& path);

}  // namespace tolvaran::HelperHeartbeat
