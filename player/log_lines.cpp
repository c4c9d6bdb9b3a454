#include "player/log_lines.hpp"

#include "report/log_reading.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/machine/readable_text.hpp"

namespace simulator {

void LogLines::take(std::string_view text) {
    for (auto end = text.find('\n'); end != text.npos; end = text.find('\n')) {
        line_ += text.substr(0, end);
        takeLine();
        line_.clear();
        text.remove_prefix(end + 1);
    }
    line_ += text;
}

void LogLines::takeLine() {
    const std::optional<report::LogLine> read = report::readLogLine(line_);
    if (!read) {
        return;
    }
    entries_.push_back({{"at", clock::seconds()},
                        {"level", read->level},
                        {"message", readableText(read->message)}});
    if (onLine_) {
        onLine_();
    }
}

}  // namespace simulator
