#include "tests/faults/story.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// Whether other faults leave the scenario's own where they are.
bool hasLastingFaultsOnly(const simulator::Scenario& scenario) {
    return std::all_of(scenario.faults.begin(), scenario.faults.end(), [](const json& fault) {
        return !fault.contains("skip") && !fault.contains("times") && !fault.contains("delayReads");
    });
}

std::vector<Story> readStories() {
    std::vector<Story> all;
    for (const auto& entry : fs::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        simulator::Scenario scenario = simulator::loadScenario(entry.path().string());
        if (scenario.clock == simulator::clock::Kind::virtualTime &&
            hasLastingFaultsOnly(scenario)) {
            std::string name = entry.path().stem().string();
            std::replace(name.begin(), name.end(), '-', '_');
            all.push_back({.name = name, .scenario = std::move(scenario), .program = {}});
        }
    }
    std::ranges::sort(all, {}, &Story::name);
    for (Story& story : mainApplicationStories()) {
        all.push_back(std::move(story));
    }
    return all;
}

}  // namespace

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
