// Conversions whose failure is a programming error. Carrying on with a wrong number could move a
// user's display to a place that nobody chose, so the program stops instead, and says why first, as
// in "stopping: x of the origin of display 7 is nan, which does not fit in 32 bits". Main thread
// only, except where a function says otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolvaran::checked {

/// Logs through RestoreLog.warn "stopping: " followed by `reason`, then aborts the process.
[[noreturn]] void stopProgram(const std::string& reason);

/// `value` truncated toward zero; none if it is not finite or does not fit. Any thread may call it.
std::optional<std::int64_t> int64(double value);

/// `value` truncated toward zero. Stops the program if it is not finite or does not fit.
/// @param what names the value in the log line, such as "x of the origin of display 7"
std::int32_t int32(double value, const std::string& what);
std::int64_t int64(double value, const std::string& what);

/// The product; stops the program if it does not fit.
std::int64_t product(std::int64_t a, std::int64_t b, const std::string& what);

}  // namespace tolvaran::checked
