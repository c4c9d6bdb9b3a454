#include "tests/faults/fault_run.hpp"

#include <algorithm>
#include <filesystem>
#include <set>

#include "simulator/player/player.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// How long the run afterwards lasts: a start without Tolvaran and one safety tick.
constexpr double healingSeconds = 61;

Ending ending(const json& result) {
    Ending ending{.mac = result.at("mac"), .files = result.at("files")};
    ending.files.erase("State/.helper-heartbeat");
    return ending;
}

simulator::Scenario nextRun(const json& mac) {
    json quietMac = mac;
    quietMac["applications"] = json::array();
    return simulator::readScenario({{"mac", quietMac}, {"until", healingSeconds}}, ".", "next run");
}

std::size_t openDescriptors() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

void noteUnfinishedFiles(const std::string& root, const std::string& when,
                         std::vector<std::string>& leftOver) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().filename().string().find(".unfinished-") != std::string::npos) {
            leftOver.push_back(when + ": " + entry.path().filename().string());
        }
    }
}

std::vector<std::string> logLines(const json& result) {
    std::vector<std::string> lines;
    for (const json& line : result.at("log")) {
        lines.push_back(line.at("level").get<std::string>() + ": " +
                        line.at("message").get<std::string>());
    }
    return lines;
}

void collect(const json& patch, const std::string& prefix, std::vector<std::string>& into) {
    for (const json& step : patch) {
        into.push_back(prefix + step.at("path").get<std::string>());
    }
}

}  // namespace

Ending healedEnding(const json& mac, const std::string& root) {
    return ending(simulator::play(nextRun(mac), {.root = root, .quiet = true}).result);
}

FaultRun runWithFaults(const simulator::Scenario& scenario, const Decide& decide) {
    const TemporaryDirectory root;
    FaultRun run;
    const std::size_t descriptors = openDescriptors();
    const std::size_t objects = simulator::liveObjects();
    const auto prepare = [&] {
        simulator::decideCalls([&](const std::string& function) {
            run.calls.push_back(function);
            return decide(run.calls.size() - 1, function);
        });
    };
    const auto played =
        simulator::play(scenario, {.root = root.path(), .quiet = true, .prepare = prepare});
    run.log = logLines(played.result);
    run.after = ending(played.result);
    noteUnfinishedFiles(root.path(), "after the fault", run.leftOver);
    if (openDescriptors() != descriptors) {
        run.leftOver.push_back("an open descriptor");
    }
    if (simulator::liveObjects() != objects) {
        run.leftOver.push_back("an object that nobody released");
    }
    run.healed = healedEnding(run.after.mac, root.path());
    noteUnfinishedFiles(root.path(), "after the next run", run.leftOver);
    return run;
}

std::vector<std::string> faultlessScenarios() {
    std::vector<std::string> paths;
    for (const auto& entry : fs::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        const simulator::Scenario scenario = simulator::loadScenario(entry.path().string());
        if (scenario.clock == simulator::clock::Kind::virtualTime && scenario.faults.empty()) {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<std::string> differences(const Ending& expected, const Ending& actual) {
    std::vector<std::string> places;
    collect(json::diff(expected.mac, actual.mac), "mac", places);
    collect(json::diff(expected.files, actual.files), "files", places);
    return places;
}

}  // namespace tolvaran::tests
