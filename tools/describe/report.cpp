#include "tools/describe/report.hpp"

#include <ctime>

#include "report/log_reading.hpp"
#include "report/text.hpp"
#include "restore/paths/helper_heartbeat.hpp"
#include "tools/describe/describe.hpp"
#include "tools/describe/log_tail.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;
using simulator::report::counted;

constexpr std::size_t reportedLines = 2000;

std::string localTime() {
    const auto now = static_cast<std::time_t>(HelperHeartbeat::currentDate());
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

/// The times of the first and of the last line that has one.
std::string timesOf(const json& log) {
    std::string first;
    std::string last;
    for (const json& line : log) {
        if (const auto read = simulator::report::readLogLine(line.get<std::string>())) {
            first = first.empty() ? read->time : first;
            last = read->time;
        }
    }
    return first.empty() ? "" : ", from " + first + " to " + last;
}

}  // namespace

Report makeReport(const std::string& macOS, Settings settings) {
    const Description description = describeMac();
    Report report{.scenario = json::object(), .notes = description.notes};
    json& scenario = report.scenario;
    scenario["mac"] = description.mac;
    scenario["files"] = stateFiles(settings, report.notes);
    scenario["log"] = logTail(reportedLines);
    const std::string time = localTime();
    scenario["name"] = "A Mac as it was at " + time;
    scenario["about"] = {
        {"macOS", macOS}, {"helper", TOLVARAN_VERSION}, {"time", time}, {"left out", report.notes}};
    return report;
}

std::vector<std::string> personalContent(const json& scenario) {
    std::vector<std::string> lines;
    const auto add = [&](std::size_t count, const char* one, const char* many, const char* what) {
        if (count > 0) {
            lines.push_back(counted(count, one, many) + ": " + what);
        }
    };
    const json& mac = scenario["mac"];
    const std::size_t displays = mac.value("displays", json::array()).size();
    add(displays, "display", "displays", "names, serial numbers and UUIDs");
    add(scenario["files"].size(), "file", "files",
        "the same, and the names by which Tolvaran knows your displays");
    const json& log = scenario["log"];
    if (!log.empty()) {
        lines.push_back(counted(log.size(), "line", "lines") + " of the log" + timesOf(log) +
                        ": the same, and when your Mac was in use");
    }
    return lines;
}

}  // namespace tolvaran::describe
