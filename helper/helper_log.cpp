#include "helper/helper_log.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <optional>

#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"
#include "restore/support/text.hpp"

namespace tolvaran {
namespace {

constexpr const char* currentName = "tolvaran-helper.log";
constexpr const char* previousName = "tolvaran-helper.log.prev";
constexpr std::int64_t rotationSize = std::int64_t{5} * 1024 * 1024;  // bytes
constexpr int linesBetweenSizeChecks = 500;

/// What the writer keeps between lines.
struct Writer {
    std::optional<files::Appender> file;  // none: standard error only
    int linesSinceSizeCheck = 0;
    std::optional<CFAbsoluteTime> origin;  // the time of the first line
};

Writer& writer() {
    static ProcessWide<Writer> state;
    return state.get();
}

void moveLogsFromProfileDirectory() {
    for (const char* const name : {currentName, previousName}) {
        const std::string older = TolvaranPaths::profilePath(name);
        const std::string newer = TolvaranPaths::logsPath(name);
        if (files::exists(older) && !files::exists(newer)) {
            files::moveIfPossible(older, newer);
        }
    }
}

void moveCurrentToPrevious() {
    files::removeIfPossible(TolvaranPaths::logsPath(previousName));
    files::moveIfPossible(TolvaranPaths::logsPath(currentName),
                          TolvaranPaths::logsPath(previousName));
}

void openCurrent(files::Appender::Existing existing) {
    const std::string path = TolvaranPaths::logsPath(currentName);
    files::Appender::create(path, existing);
    writer().file = files::Appender::open(path);
}

void rotateIfTooLarge() {
    if (writer().file->offset() < rotationSize) {
        return;
    }
    writer().file.reset();
    moveCurrentToPrevious();
    // Emptied if it could not be moved: an endlessly growing log could fill the disk that the
    // records need.
    openCurrent(files::Appender::Existing::emptied);
}

void appendToFile(const std::string& line) {
    Writer& state = writer();
    if (!state.file) {
        return;
    }
    state.file->append(line);
    if (++state.linesSinceSizeCheck == linesBetweenSizeChecks) {
        state.linesSinceSizeCheck = 0;
        rotateIfTooLarge();
    }
}

/// Local time as "yyyy-MM-dd HH:mm:ss.SSS", the same in every locale.
std::string timestamp(CFAbsoluteTime time) {
    // Rounded to microseconds first: no double is exactly 0.123 s, so it could show as 122 ms.
    const auto microseconds = std::llround((time + kCFAbsoluteTimeIntervalSince1970) * 1e6);
    const auto seconds = static_cast<std::time_t>(microseconds / 1'000'000);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    const std::string milliseconds = std::to_string(microseconds / 1000 % 1000 + 1000);
    return std::string(date) + "." + milliseconds.substr(1);
}

std::string withoutControlCharacters(const std::string& message) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string line;
    for (const char character : message) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '\n') {
            line += "\\n";
        } else if (code < 0x20 || code == 0x7F) {
            line += {'\\', 'x', digits[code / 16], digits[code % 16]};
        } else {
            line += character;
        }
    }
    return line;
}

}  // namespace

void setUpHelperLog() {
    try {
        files::createDirectories(TolvaranPaths::logsDir());
    } catch (const files::Error&) {
        // Opening the log then fails too, and the lines go to standard error alone.
    }
    moveLogsFromProfileDirectory();
    if (files::size(TolvaranPaths::logsPath(currentName)).value_or(0) >= rotationSize) {
        moveCurrentToPrevious();
    }
    openCurrent(files::Appender::Existing::kept);
}

void helperLog(const std::string& level, const std::string& message) {
    const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
    Writer& state = writer();
    state.origin = state.origin.value_or(now);
    const std::string line = "[" + timestamp(now) + "] [" + text::fixed(now - *state.origin, 3, 8) +
                             "] [helper] [" + level + "] " + withoutControlCharacters(message) +
                             "\n";
    files::writeToStandardError(line);
    appendToFile(line);
}

}  // namespace tolvaran
