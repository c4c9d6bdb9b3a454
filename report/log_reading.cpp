#include "report/log_reading.hpp"

#include <algorithm>

namespace simulator::report {
namespace {

/// Removes "[content] " from the front of the text and returns the content; none if it does not
/// begin like that.
std::optional<std::string> takeBracketed(std::string_view& text) {
    constexpr std::string_view end = "] ";
    const std::size_t length = text.find(end);
    if (text.empty() || text.front() != '[' || length == std::string_view::npos) {
        return std::nullopt;
    }
    std::string content(text.substr(1, length - 1));
    text.remove_prefix(length + end.size());
    return content;
}

// How these lines begin.
constexpr std::array<std::string_view, 9> processLines{
    "Helper starting",     "Tolvaran not running", "Tolvaran already running", "Tolvaran launched",
    "NSWorkspace reports", "Watching PROC_EXIT",   "Re-arming PROC_EXIT",      "PROC_EXIT",
    "safety timer",
};

}  // namespace

std::optional<LogLine> readLogLine(std::string_view line) {
    const auto time = takeBracketed(line);
    const auto elapsed = takeBracketed(line);
    const auto program = takeBracketed(line);
    const auto level = takeBracketed(line);
    if (!time || !elapsed || program != "helper" || !level) {
        return std::nullopt;
    }
    const std::size_t digits = std::min(elapsed->find_first_not_of(' '), elapsed->size());
    return LogLine{*time, elapsed->substr(digits), *level, std::string(line)};
}

std::optional<StepLine> readStepLine(const std::string& message) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const std::string start = std::string(steps[i].name) + " [";
        const std::size_t end = message.find("]: ", start.size());
        if (message.starts_with(start) && end != std::string::npos) {
            return StepLine{i, message.substr(start.size(), end - start.size()),
                            message.substr(end + 3)};
        }
    }
    return std::nullopt;
}

bool isAboutProcesses(std::string_view message) {
    return std::ranges::any_of(processLines,
                               [&](std::string_view start) { return message.starts_with(start); });
}

}  // namespace simulator::report
