#include "tools/describe/last_run.hpp"

#include <charconv>
#include <string_view>
#include <utility>

namespace tolvaran::describe {
namespace {

using simulator::report::LogLine;
using simulator::report::readStepLine;

// The library names its store or operation in each line. All other lines belong to the arrangement.
constexpr std::array<std::pair<std::string_view, Matter>, 12> beginnings{{
    {"resolution restore", Matter::modes},
    {"resolution originals", Matter::modes},
    {"Failed to encode resolution", Matter::modes},
    {"Failed to write resolution", Matter::modes},
    {"menu bar snapshot", Matter::menuBar},
    {"Per-display menu bar", Matter::menuBar},
    {"CFPreferencesSynchronize", Matter::menuBar},
    {"CGSSetMenuBar", Matter::menuBar},
    {"SLS", Matter::menuBar},
    {"Failed to write menu bar", Matter::menuBar},
    {"hot-corner", Matter::hotCorners},
    {"screen-saver", Matter::screenSaver},
}};

// The steps of a run, in order.
constexpr std::array<Matter, 5> matterOfStep{Matter::arrangement, Matter::modes, Matter::menuBar,
                                             Matter::hotCorners, Matter::dock};

std::optional<Matter> matterOf(const std::string& message) {
    if (const auto step = readStepLine(message)) {
        return step->step < matterOfStep.size() ? std::optional(matterOfStep[step->step])
                                                : std::nullopt;
    }
    for (const auto& [beginning, matter] : beginnings) {
        if (message.starts_with(beginning)) {
            return matter;
        }
    }
    return Matter::arrangement;
}

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

/// Where the last finished run ends, and where the one before it does.
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
        const auto matter = isFailure && !simulator::report::isAboutProcesses(read[i].message)
                                ? matterOf(read[i].message)
                                : std::nullopt;
        if (matter) {
            last.failures[static_cast<std::size_t>(*matter)].push_back(read[i].message);
        }
    }
    return last;
}

}  // namespace tolvaran::describe
