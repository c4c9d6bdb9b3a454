#include "player/log_lines.hpp"

#include "simulator/loop/clock.hpp"
#include "simulator/machine/readable_text.hpp"

namespace simulator {

void LogLines::take(std::string_view text) {
    for (const char c : text) {
        if (c == '\n') {
            takeLine();
            line_.clear();
        } else {
            line_ += c;
        }
    }
}

void LogLines::takeLine() {
    constexpr std::string_view beforeLevel = "] [helper] [";
    constexpr std::string_view afterLevel = "] ";
    const std::size_t mark = line_.find(beforeLevel);
    if (line_.empty() || line_.front() != '[' || mark == std::string::npos) {
        return;
    }
    const std::size_t level = mark + beforeLevel.size();
    const std::size_t end = line_.find(afterLevel, level);
    if (end == std::string::npos) {
        return;
    }
    entries_.push_back({{"at", clock::seconds()},
                        {"level", line_.substr(level, end - level)},
                        {"message", readableText(line_.substr(end + afterLevel.size()))}});
    if (onLine_) {
        onLine_();
    }
}

}  // namespace simulator
