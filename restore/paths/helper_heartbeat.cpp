#include "restore/paths/helper_heartbeat.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <charconv>
#include <cstdint>
#include <string_view>

#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/checked.hpp"
#include "restore/support/files.hpp"
#include "restore/support/text.hpp"

namespace tolvaran::HelperHeartbeat {
namespace {

std::optional<std::int64_t> decimalInteger(std::string_view digits) {
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
        if (digits.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

}  // namespace

std::string defaultPath() {
    return TolvaranPaths::statePath(".helper-heartbeat");
}

Date currentDate() {
    return CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970;
}

bool touch(const std::string& path, Date now) {
    const std::optional<std::int64_t> milliseconds = checked::int64(now * 1000.0);
    if (!milliseconds) {
        return false;
    }
    try {
        files::writeUnflushed(path, std::to_string(*milliseconds));
        return true;
    } catch (const files::Error&) {
        return false;
    }
}

std::optional<Date> lastTouch(const std::string& path) {
    const std::optional<std::string> content = files::read(path);
    if (!content) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> milliseconds = decimalInteger(text::trimmed(*content));
    if (!milliseconds) {
        return std::nullopt;
    }
    return static_cast<double>(*milliseconds) / 1000.0;
}

std::optional<double> age(const std::string& path, Date now) {
    const std::optional<Date> last = lastTouch(path);
    return last ? std::optional(now - *last) : std::nullopt;
}

bool isFresh(const std::string& path, Date now, double threshold) {
    const std::optional<double> seconds = age(path, now);
    return seconds && *seconds <= threshold;
}

void clear(const std::string& path) {
    files::removeIfPossible(path);
}

}  // namespace tolvaran::HelperHeartbeat
