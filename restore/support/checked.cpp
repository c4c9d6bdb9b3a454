#include "restore/support/checked.hpp"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>

#include "restore/paths/restore_log.hpp"

namespace tolvaran::checked {
namespace {

std::string text(double value) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(std::numeric_limits<double>::max_digits10);
    out << value;
    return out.str();
}

/// `value` truncated toward zero; none if that does not fit in Integer.
template <typename Integer>
std::optional<Integer> fitting(double value) {
    // Both bounds are powers of two and so exact as doubles, unlike the greatest integer itself.
    constexpr auto lower = static_cast<double>(std::numeric_limits<Integer>::min());
    const double whole = std::trunc(value);
    return whole >= lower && whole < -lower ? std::optional(static_cast<Integer>(whole))
                                            : std::nullopt;
}

/// `value` truncated toward zero; stops the program if that does not fit in Integer.
template <typename Integer>
Integer truncated(double value, const std::string& what) {
    const std::optional<Integer> whole = fitting<Integer>(value);
    if (!whole) {
        stopProgram(what + " is " + text(value) + ", which does not fit in " +
                    std::to_string(std::numeric_limits<Integer>::digits + 1) + " bits");
    }
    return *whole;
}

}  // namespace

void stopProgram(const std::string& reason) {
    RestoreLog::warn("stopping: " + reason);
    std::abort();
}

std::optional<std::int64_t> int64(double value) {
    return fitting<std::int64_t>(value);
}

std::int32_t int32(double value, const std::string& what) {
    return truncated<std::int32_t>(value, what);
}

std::int64_t int64(double value, const std::string& what) {
    return truncated<std::int64_t>(value, what);
}

std::int64_t product(std::int64_t a, std::int64_t b, const std::string& what) {
    std::int64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) {
        stopProgram(what + " is " + std::to_string(a) + " times " + std::to_string(b) +
                    ", which does not fit in 64 bits");
    }
    return result;
}

}  // namespace tolvaran::checked
