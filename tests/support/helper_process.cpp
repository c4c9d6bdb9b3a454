#include "tests/support/helper_process.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "helper/entry.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran::tests {
namespace {

/// "level: message" of a line "[timestamp] [elapsed] [helper] [level] message".
std::string withoutStamps(const std::string& line) {
    const std::string marker = "] [helper] [";
    const auto level = line.find(marker) + marker.size();
    const auto end = line.find("] ", level);
    return line.substr(level, end - level) + ": " + line.substr(end + 2);
}

}  // namespace

HelperProcess::HelperProcess(const nlohmann::json& mac) {
    endProcess();
    simulator::reset(mac);
    setUpLogging();
}

HelperProcess::~HelperProcess() {
    endProcess();
    RestoreLog::silence();
}

std::vector<std::string> HelperProcess::takeLog() {
    const std::string content =
        readFile(directory_ / "logs/tolvaran-helper.log").value_or("").substr(taken_);
    taken_ += content.size();
    std::vector<std::string> lines;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(withoutStamps(line));
    }
    return lines;
}

std::vector<std::string> HelperProcess::callNames() {
    std::vector<std::string> names;
    for (const nlohmann::json& call : simulator::calls()) {
        names.push_back(call["call"]);
    }
    return names;
}

}  // namespace tolvaran::tests
