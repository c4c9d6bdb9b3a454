#include "tests/support/simulated_process.hpp"

#include <filesystem>
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

/// The lines after the first `taken`, which is then the number of all.
Lines takeRest(const Lines& all, std::size_t& taken) {
    Lines rest(all.begin() + static_cast<std::ptrdiff_t>(taken), all.end());
    taken = all.size();
    return rest;
}

}  // namespace

SimulatedProcess::SimulatedProcess(const nlohmann::json& mac, Role role) : role_(role) {
    std::filesystem::create_directory(support_);
    beginProcess(mac);
}

SimulatedProcess::~SimulatedProcess() {
    finishProcess();
    simulator::reset();
    RestoreLog::silence();
}

void SimulatedProcess::start(const nlohmann::json& mac) {
    finishProcess();
    beginProcess(mac);
}

void SimulatedProcess::restart() const {
    forgetProcessWideValues();
}

void SimulatedProcess::beginProcess(const nlohmann::json& mac) {
    forgetProcessWideValues();
    simulator::reset(mac);
    takenCalls_ = 0;
    objectsBefore_ = simulator::liveObjects();
    if (role_ == Role::helper) {
        setUpLogging();
    } else if (!log_) {
        log_.emplace();
    }
}

void SimulatedProcess::finishProcess() const {
    forgetProcessWideValues();
    EXPECT_EQ(simulator::liveObjects(), objectsBefore_) << "objects were not released";
    EXPECT_EQ(simulator::openConfigurations(), 0U) << "a configuration was left open";
}

Lines SimulatedProcess::takeLog() {
    if (log_) {
        return log_->take();
    }
    const std::string content =
        readFile(logs("tolvaran-helper.log")).value_or("").substr(takenOfLog_);
    takenOfLog_ += content.size();
    Lines lines;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(withoutStamps(line));
    }
    return lines;
}

Lines SimulatedProcess::takeWarnings() {
    Lines warnings;
    for (const std::string& line : takeLog()) {
        EXPECT_TRUE(line.starts_with("warn: ")) << line;
        warnings.push_back(line.substr(line.find(' ') + 1));
    }
    return warnings;
}

Lines SimulatedProcess::takeCalls() {
    return takeRest(callLines(), takenCalls_);
}

void SimulatedProcess::knowDisplays(const std::vector<Lines>& groups) const {
    nlohmann::json displays = nlohmann::json::array();
    for (const Lines& ids : groups) {
        displays.push_back({{"ids", ids}});
    }
    writeFile(settings("preferences.json"), nlohmann::json{{"knownDisplays", displays}}.dump());
}

void failCalls(const std::string& function, const nlohmann::json& result) {
    simulator::addFault({{"call", function}, {"result", result}});
}

}  // namespace tolvaran::tests
