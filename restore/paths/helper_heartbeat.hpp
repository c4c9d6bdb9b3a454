// The file by which others can tell that the helper is alive: the time of its last sign of life.
// The helper touches it at start, on every safety tick and on every wake; the main application
// reads it. Nothing here throws, and nothing logs but a touch() that stops the program.
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

/// The present moment by the system's clock.
Date currentDate();

/// Writes `now` as whole milliseconds, truncated toward zero, after creating the directory. False
/// when it could not be written; the old file is then left as it was. A date whose milliseconds do
/// not fit in 64 bits stops the program (checked.hpp).
bool touch(const std::string& path, Date now);

/// The time of the last touch; none when the file is missing, unreadable or no decimal integer.
std::optional<Date> lastTouch(const std::string& path);

/// Seconds from the last touch to `now`, negative when it lies in the future.
std::optional<double> age(const std::string& path, Date now);

/// Whether the last touch is at most `threshold` seconds old. One in the future counts as fresh,
/// so that a clock that was set back does not make a living helper look dead.
bool isFresh(const std::string& path, Date now, double threshold = defaultStaleThreshold);

/// Removes the file; failures are ignored.
void clear(const std::string& path);

}  // namespace tolvaran::HelperHeartbeat
