// Conversions whose failure is a programming error. Carrying on with a wrong number could move a
// user's display to a place that nobody chose, so the program stops instead, and says why first.
#pragma once

#include <cstdint>
#include <string>

namespace tolvaran::checked {

/// Logs through RestoreLog.warn "stopping: " followed by `reason`, then aborts the process.
[[noreturn]] void stop(const std::string& reason);

/// `value` truncated toward zero. Stops the program when it is not finite or does not fit.
/// @param what names the value in the log line, such as "origin x of display 7"
std::int32_t int32(double value, const std::string& what);
std::int64_t int64(double value, const std::string& what);

/// The product; stops the program when it does not fit.
std::int64_t product(std::int64_t a, std::int64_t b, const std::string& what);

}  // namespace tolvaran::checked
