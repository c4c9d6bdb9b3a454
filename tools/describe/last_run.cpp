#include "tools/describe/last_run.hpp"

#include <charconv>
#include <string_view>
#include <utility>

#include "report/log_reading.hpp"

namespace tolvaran::describe {
namespace {

using simulator::report::LogLine;
using simulator::report::readStepLine;

std::optional<HelperStart> readStart(const LogLine& line) {
    constexpr std::string_view beginning = "Helper starting (pid ";
    if (!line.message.starts_with(beginning)) {
        return std::nullopt;
    }
    HelperStart start{.time = line.time};
    const char* const end = line.message.data() + line.message.size();
    std::from_chars(line.message.data() + beginning.size(), end, start.pid);
    return start;
}

/// Where the last finished run begins, which is where the one before it ends, and where it ends.
std::pair<std::size_t, std::size_t> lastRunOf(const std::vector<LogLine>& lines) {
    std::size_t begin = 0;
    std::size_t end = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto step = readStepLine(lines[i].message);
        if (step && step->endsRun()) {
            begin = end;
            end = i + 1;
        }
    }
    return {begin, end};
}

}  // namespace

LastRun readLastRun(const std::vector<std::string>& lines) {
    LastRun last;
    std::vector<LogLine> read;
    for (const std::string& text : lines) {
        if (const auto line = simulator::report::readLogLine(text)) {
            read.push_back(*line);
            const auto start = readStart(*line);
            last.start = start ? start : last.start;
        }
    }
    const auto [begin, end] = lastRunOf(read);
    for (std::size_t i = begin; i < end; ++i) {
        const bool isFailure = read[i].level == "warn" || read[i].level == "error";
        if (isFailure && !simulator::report::isAboutProcesses(read[i].message)) {
            last.failures.push_back(read[i].message);
        }
    }
    return last;
}

}  // namespace tolvaran::describe
