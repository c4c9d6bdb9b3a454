#include <CoreGraphics/CoreGraphics.h>

#include <cstdlib>

#include "helper/entry.hpp"
#include "platform/private_interfaces.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/faults/story.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Owner = DockHotCornerLeaseOwner;

const char* const theMac = R"({
    "displays": [
        {"id": 1, "vendor": 1552, "model": 41040, "serial": 17, "mode": 1,
         "portUUID": "37D8832A-2D66-02CA-B9F7-8F30A301B230", "frame": [0, 0, 1512, 982],
         "modes": [{"number": 1, "flags": 1, "width": 1512, "height": 982},
                   {"number": 2, "flags": 1, "width": 1024, "height": 768}]},
        {"id": 2, "vendor": 4268, "model": 16609, "serial": 18,
         "portUUID": "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C02", "frame": [1512, 0, 1920, 1080]}],
    "preferences": {"global": {"_HIHideMenuBar": false},
                    "com.apple.dock": {"wvous-tl-corner": 5, "wvous-tl-modifier": 0,
                                       "wvous-br-corner": 13, "wvous-br-modifier": 0}},
    "dock": {"autoHide": false, "cornerActions": [5, 1, 1, 13], "cornerModifiers": [0, 0, 0, 0]},
    "menuBar": {"autoHide": false, "activeDisplay": "37D8832A-2D66-02CA-B9F7-8F30A301B230"}
})";

const char* const pendingCorners =
    R"({"tlCorner": 2, "brCorner": 13, "liveActions": [2, 1, 1, 13], "liveModifiers": [0, 0, 0, 0]})";

const std::string firstDisplay = "HW-1552-41040-17";
const std::string signature = "HW-1552-41040-17,HW-4268-16609-18";

void giveUp(const std::string& why) {
    RestoreLog::warn("the main application gave up: " + why);
}

std::string corners() {
    return DockHotCornerOverride::defaultSnapshotPath();
}

void enter(Owner owner) {
    DockHotCornerOverride::enter(owner, corners(), DockHotCornerOverride::dockAppID);
}

void leave(Owner owner) {
    DockHotCornerOverride::exit(owner, corners(), DockHotCornerOverride::dockAppID);
}

void suppressCorners() {
    enter(Owner::gameMode);
    enter(Owner::customHotCorners);
    enter(Owner::gameMode);
    leave(Owner::gameMode);
}

void suppressAndReleaseCorners() {
    enter(Owner::displayTransition);
    leave(Owner::displayTransition);
}

void holdScreenSaver() {
    const std::string marker = ScreenSaverHotCornerHold::defaultMarkerPath();
    ScreenSaverHotCornerHold::begin(marker);
    ScreenSaverHotCornerHold::end(marker);
    ScreenSaverHotCornerHold::begin(marker);
}

void hideDock() {
    const std::string marker = DockAutoHideOverride::defaultSnapshotPath();
    DockAutoHideOverride::markPending(false, marker);
    if (DockAutoHideOverride::pendingRestoreValue(marker) == false) {
        CoreDockSetAutoHideEnabled(1);
    }
}

void hideMenuBar() {
    const CGDirectDisplayID display = 1;
    const std::string port = displayPortUUID(display);
    const auto snapshot = MenuBarAutohide::readCurrent(
        {MenuBarDisplayIdentity(display, firstDisplay, firstDisplay, port)});
    const std::string path = MenuBarAutohide::defaultSnapshotPath();
    if (snapshot && MenuBarAutohide::saveSnapshot(*snapshot, path)) {
        MenuBarAutohide::writeAlways();
        MenuBarAutohide::setVisibilityOverride(false, display);
    }
    MenuBarAutohide::runtimeAutohideEnabled();
    MenuBarAutohide::activeMenuBarDisplayIdentifier();
    MenuBarAutohide::currentSpaceIsFullscreen(display);
}

void changeMode() {
    const std::string path = ResolutionOriginalsStore::defaultPath();
    const auto mode = DisplayModeControl::currentMode(1);
    if (!mode) {
        giveUp("the mode is unknown");
        return;
    }
    ResolutionOriginalsStore::recordIfAbsent(firstDisplay, mode->spec(), path);
    if (ResolutionOriginalsStore::pendingEntries(path).contains(firstDisplay) &&
        !DisplayModeControl::apply(2, 1)) {
        giveUp("the mode is refused");
    }
}

void moveDisplays() {
    const std::string path = OriginalsStore::defaultPath();
    OriginalsStore::save({.arrangements = {{signature,
                                            {{.uuid = "HW-1552-41040-17"},
                                             {.uuid = "HW-4268-16609-18", .x = 1512}}}}},
                         path);
    SeparatedSetsStore::markSeparated(signature, SeparatedSetsStore::defaultPath());
    if (OriginalsStore::load(path).arrangements.contains(signature)) {
        const bool moved = DisplayApply::applyOriginalsToHardware(
            {{.displayID = 2, .origin = CGPointMake(1512, 982)}});
        if (!moved) {
            giveUp("the arrangement is refused");
        }
    }
}

void renameDisplays() {
    const std::map<std::string, std::string> mapping{{"old", firstDisplay}};
    OriginalsStore::migrateUUIDs(mapping, OriginalsStore::defaultPath());
    SeparatedSetsStore::migrateCanonicalIDs(mapping, SeparatedSetsStore::defaultPath());
}

/// As in a process without HOME in its environment.
void askForPathsWithoutHome() {
    const ScopedEnvironment noHome("HOME", std::nullopt);
    setUpLogging();
    const ScopedEnvironment noSupport("TOLVARAN_APPLICATION_SUPPORT_DIR", std::nullopt);
    RestoreLog::info("paths " + TolvaranPaths::applicationSupportDir());
    const ScopedEnvironment test("XCTestBundlePath", "/a.xctest");
    RestoreLog::info("paths " + TolvaranPaths::applicationSupportDir());
}

/// The operation in its own process, which logs where the helper does. An exception ends it, as it
/// would end what the user asked of the main application.
Story inMainApplication(const std::string& name, void (*operation)(),
                        const json& files = json::object()) {
    const json scenario{{"mac", json::parse(theMac)}, {"files", files}};
    return {.name = "main_application_" + name,
            .scenario = simulator::readScenario(scenario, ".", name),
            .program = [operation] {
                setUpLogging();
                try {
                    operation();
                } catch (const std::exception& error) {
                    giveUp(error.what());
                }
            }};
}

}  // namespace

std::vector<Story> mainApplicationStories() {
    const json marked{{"version", 1}, {"signatures", {"old"}}};
    const json arranged{{"version", 2},
                        {"arrangements", {{"old", {{{"uuid", "old"}, {"x", 0}, {"y", 0}}}}}}};
    return {
        inMainApplication("suppresses_corners", suppressCorners),
        inMainApplication("suppresses_and_releases_corners", suppressAndReleaseCorners),
        inMainApplication("suppresses_corners_after_a_crash", suppressCorners,
                          {{"State/hot-corners-snapshot.json", json::parse(pendingCorners)}}),
        inMainApplication("holds_screen_saver", holdScreenSaver),
        inMainApplication("hides_dock", hideDock),
        inMainApplication("hides_menu_bar", hideMenuBar),
        inMainApplication("changes_mode", changeMode),
        inMainApplication("moves_displays", moveDisplays),
        inMainApplication(
            "renames_displays", renameDisplays,
            {{"State/.display-originals", arranged}, {"State/separated-sets.json", marked}}),
        {.name = "main_application_asks_for_paths",
         .scenario = simulator::readScenario(json::object(), ".", "paths"),
         .program = askForPathsWithoutHome},
    };
}

}  // namespace tolvaran::tests
