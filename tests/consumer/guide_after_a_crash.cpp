// Runs the guide's example on a simulated Mac where a crash has left a display's mode behind.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <restore/tolvaran_restore.hpp>
#include <string>

#include "simulator/simulator.hpp"

using namespace tolvaran;
using nlohmann::json;

/// The example's main().
int example();

namespace {

constexpr CGDirectDisplayID display = 1;

json macAfterTheCrash() {
    return json::parse(R"({"displays": [{"id": 1, "frame": [0, 0, 1024, 768], "mode": 1, "modes": [
        {"number": 1, "flags": 1, "width": 1024, "height": 768},
        {"number": 2, "flags": 1, "width": 1512, "height": 982}]}]})");
}

/// Makes this the ID by which the main application first knew the display.
void rememberDisplay(const std::string& id) {
    const std::filesystem::path preferences = AliasMap::defaultPreferencesPath();
    std::filesystem::create_directories(preferences.parent_path());
    json known = json::array();
    known.push_back({{"ids", {id, displayUUID(display)}}});
    std::ofstream(preferences) << json{{"knownDisplays", known}};
}

}  // namespace

int main() {
    simulator::reset(macAfterTheCrash());
    const std::string record = ResolutionOriginalsStore::defaultPath();
    const std::string id = "the display's canonical ID";
    rememberDisplay(id);
    ResolutionOriginalsStore::recordIfAbsent(id, {.width = 1512, .height = 982}, record);

    const int result = example();
    const auto shown = DisplayModeControl::currentModeNumber(display);
    if (result != 0 || shown != 2 || !ResolutionOriginalsStore::pendingEntries(record).empty()) {
        std::cerr << "the example returned " << result << " and left mode " << shown.value_or(-1)
                  << "\n";
        return 1;
    }
    return 0;
}
