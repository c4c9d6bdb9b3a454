#include "tests/tools/describe/reported.hpp"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "player/player.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tests/tools/describe/untold.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const simulator::PlayOptions quietly{.quiet = true};

json revealedMac(json mac) {
    for (const Untold& row : untold()) {
        row.forget(mac);
    }
    return mac;
}

}  // namespace

FoundMac::FoundMac(const simulator::Scenario& scenario, Helper helper) {
    simulator::PlayOptions options{.root = root_.path(), .quiet = true};
    if (helper == Helper::neverRan) {
        options.program = [] {};
    }
    mac_ = simulator::play(scenario, options).result["mac"];
}

std::string FoundMac::file(const std::string& path) const {
    return root_ / ("ApplicationSupport/" + path);
}

void FoundMac::visit(const std::function<void()>& work) const {
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR",
                                    root_ / "ApplicationSupport");
    const ScopedEnvironment logs("TOLVARAN_LOGS_DIR", root_ / "Logs");
    forgetProcessWideValues();
    simulator::reset(mac_);
    // The helper's run has set the sinks to its log.
    RestoreLog::silence();
    work();
    forgetProcessWideValues();
}

json FoundMac::report(describe::Settings settings) const {
    json scenario;
    visit([&] { scenario = describe::makeReport("14.1 (23B74)", settings).scenario; });
    return scenario;
}

json FoundMac::played() const {
    simulator::Scenario scenario;
    scenario.mac = revealedMac(mac_);
    scenario.filesFrom = root_ / "ApplicationSupport";
    return simulator::play(scenario, quietly).result;
}

json playedReport(const json& report) {
    return simulator::play(simulator::readScenario(report, "", ""), quietly).result;
}

namespace {

std::vector<Corruption> someCorruptions(const std::string& whole) {
    constexpr std::size_t step = 1009;
    std::vector<Corruption> corruptions = fieldCorruptions(whole);
    std::ranges::copy(cuts(whole), std::back_inserter(corruptions));
    for (std::size_t n = 0; n < byteCorruptions(whole); n += step) {
        corruptions.push_back(byteCorruption(whole, n));
    }
    return corruptions;
}

}  // namespace

void forSomeSpoiledFiles(
    std::size_t step,
    const std::function<void(const FoundMac& found, const std::string& what)>& check) {
    const simulator::Scenario scenario =
        simulator::loadScenario(TOLVARAN_SCENARIOS "/crash-in-full.json");
    json mac = scenario.mac;
    mac["applications"] = json::array();  // so that the helper reads the files as soon as it starts
    const FoundMac found(simulator::readScenario({{"mac", mac}}, "", ""));
    for (const auto& [path, content] : scenario.files) {
        const std::string whole = content.is_string() ? content.get<std::string>() : content.dump();
        const std::vector<Corruption> corruptions = someCorruptions(whole);
        for (std::size_t n = 0; n < corruptions.size() && !testing::Test::HasFailure(); n += step) {
            writeFile(found.file(path), corruptions[n].content);
            check(found, path + ": " + corruptions[n].what);
        }
        std::filesystem::remove(found.file(path));
    }
}

std::vector<std::string> scenarioPaths() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() == ".json") {
            paths.push_back(entry.path().string());
        }
    }
    std::ranges::sort(paths);
    return paths;
}

std::string scenarioName(const testing::TestParamInfo<std::string>& path) {
    std::string name = std::filesystem::path(path.param).stem().string();
    std::ranges::replace(name, '-', '_');
    return name;
}

}  // namespace tolvaran::tests
