#include "tests/faults/story.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// The functions that the scenario's own faults fail in some calls only.
std::vector<std::string> passingFaults(const simulator::Scenario& scenario) {
    std::vector<std::string> functions;
    for (const json& fault : scenario.faults) {
        if (fault.contains("skip") || fault.contains("times") || fault.contains("delayReads")) {
            functions.push_back(fault.at("call"));
        }
    }
    return functions;
}

std::vector<Story> readStories() {
    std::vector<Story> all;
    for (const auto& entry : fs::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        simulator::Scenario scenario = scenarioToTry(entry.path().string());
        std::string name = entry.path().stem().string();
        if (scenario.clock == simulator::clock::Kind::virtualTime) {
            std::replace(name.begin(), name.end(), '-', '_');
            const std::vector<std::string> passing = passingFaults(scenario);
            all.push_back({.name = name,
                           .scenario = std::move(scenario),
                           .passingFaults = passing,
                           .program = {},
                           .mayEndAsWithoutFaults = name == "dock_marker_undeletable"});
        }
    }
    std::ranges::sort(all, {}, &Story::name);
    for (Story& story : mainApplicationStories()) {
        all.push_back(std::move(story));
    }
    return all;
}

}  // namespace

simulator::Scenario scenarioToTry(const std::string& path) {
    simulator::Scenario scenario = simulator::loadScenario(path);
    scenario.expect = json::object();
    return scenario;
}

const std::vector<Story>& stories() {
    static const std::vector<Story> all = readStories();
    return all;
}

std::vector<std::string> storyNames() {
    std::vector<std::string> names;
    for (const Story& story : stories()) {
        names.push_back(story.name);
    }
    return names;
}

const Story& story(const std::string& name) {
    const auto found = std::ranges::find(stories(), name, &Story::name);
    if (found == stories().end()) {
        throw std::out_of_range("no story " + name);
    }
    return *found;
}

}  // namespace tolvaran::tests
