#include "tests/faults/main_application_parts.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <filesystem>
#include <optional>
#include <set>

#include "platform/private_interfaces.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Owner = DockHotCornerLeaseOwner;

constexpr const char* usersMacText = R"({
    "displays": [
        {"id": 1, "vendor": 1552, "model": 41040, "serial": 17, "mode": 1,
         "portUUID": "37D8832A-2D66-02CA-B9F7-8F30A301B230", "frame": [0, 0, 1512, 982],
         "modes": [{"number": 1, "flags": 1, "width": 1512, "height": 982},
                   {"number": 2, "flags": 1, "width": 1024, "height": 768}]},
        {"id": 2, "vendor": 4268, "model": 16609, "serial": 18,
         "portUUID": "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C02", "frame": [1512, 0, 1920, 1080]}],
    "preferences": {"global": {"_HIHideMenuBar": false, "AppleMenuBarVisibleInFullscreen": true},
                    "com.apple.dock": {"wvous-tl-corner": 5, "wvous-tl-modifier": 0,
                                       "wvous-br-corner": 13, "wvous-br-modifier": 0}},
    "dock": {"autoHide": false, "cornerActions": [5, 1, 1, 13], "cornerModifiers": [0, 0, 0, 0]},
    "menuBar": {"autoHide": false, "activeDisplay": "37D8832A-2D66-02CA-B9F7-8F30A301B230"}
})";

constexpr CGDirectDisplayID firstDisplay = 1;
constexpr CGDirectDisplayID secondDisplay = 2;
const std::string firstID = "HW-1552-41040-17";
const std::string secondID = "HW-4268-16609-18";
const std::string bothIDs = firstID + "," + secondID;

// What the main application does, in the ways that are safe beside a running helper.

std::string corners() {
    return DockHotCornerOverride::defaultSnapshotPath();
}

/// Whether the lease was granted.
bool enter(Owner owner) {
    try {
        DockHotCornerOverride::enter(owner, corners(), DockHotCornerOverride::dockAppID);
        return true;
    } catch (const DockHotCornerOverride::OverrideError&) {
        return false;
    }
}

void leave(Owner owner) {
    DockHotCornerOverride::exit(owner, corners(), DockHotCornerOverride::dockAppID);
}

void suppressCorners() {
    if (enter(Owner::gameMode) && enter(Owner::customHotCorners)) {
        leave(Owner::gameMode);
        enter(Owner::customHotCorners);
    }
}

void releaseCorners() {
    leave(Owner::customHotCorners);
    leave(Owner::gameMode);
}

void holdScreenSaver() {
    ScreenSaverHotCornerHold::begin(ScreenSaverHotCornerHold::defaultMarkerPath());
}

void releaseScreenSaver() {
    ScreenSaverHotCornerHold::end(ScreenSaverHotCornerHold::defaultMarkerPath());
}

void hideDock() {
    const std::string marker = DockAutoHideOverride::defaultSnapshotPath();
    const std::optional<bool> pending = DockAutoHideOverride::pendingRestoreValue(marker);
    DockAutoHideOverride::markPending(pending.value_or(CoreDockGetAutoHideEnabled() != 0), marker);
    CoreDockSetAutoHideEnabled(1);
}

void showDock() {
    const std::string marker = DockAutoHideOverride::defaultSnapshotPath();
    if (const std::optional<bool> value = DockAutoHideOverride::pendingRestoreValue(marker)) {
        CoreDockSetAutoHideEnabled(*value ? 1 : 0);
        DockAutoHideOverride::clearPending(marker);
    }
}

/// The user's menu bar according to the file, or else as it is now.
std::optional<MenuBarAutohideSnapshot> usersMenuBar(const std::string& path) {
    const auto pending = MenuBarAutohide::loadSnapshot(path);
    if (!pending) {
        return MenuBarAutohide::readCurrent({MenuBarDisplayIdentity(
            firstDisplay, firstID, firstID, "37D8832A-2D66-02CA-B9F7-8F30A301B230")});
    }
    return pending->hasRestoredGlobal() ? pending->reopeningLease(MenuBarAutohide::readCurrent())
                                        : pending;
}

void hideMenuBar() {
    const std::string path = MenuBarAutohide::defaultSnapshotPath();
    const auto snapshot = usersMenuBar(path);
    if (snapshot && MenuBarAutohide::saveSnapshot(*snapshot, path)) {
        MenuBarAutohide::writeAlways();
        MenuBarAutohide::setVisibilityOverride(false, firstDisplay);
    }
}

void showMenuBar() {
    const std::string path = MenuBarAutohide::defaultSnapshotPath();
    if (const auto snapshot = MenuBarAutohide::loadSnapshot(path)) {
        const auto left = snapshot->settled(MenuBarAutohide::restoreDetailed(*snapshot));
        left ? MenuBarAutohide::saveSnapshot(*left, path) : MenuBarAutohide::deleteSnapshot(path);
    }
}

void changeMode() {
    const std::string path = ResolutionOriginalsStore::defaultPath();
    const auto pending = ResolutionOriginalsStore::pendingEntries(path);
    const auto known = pending.find(firstID);
    const auto mode = DisplayModeControl::currentMode(firstDisplay);
    if (known == pending.end() && !mode) {
        return;
    }
    ResolutionOriginalsStore::recordIfAbsent(
        firstID, known == pending.end() ? mode->spec() : known->second, path);
    if (ResolutionOriginalsStore::pendingEntries(path).contains(firstID)) {
        DisplayModeControl::apply(2, firstDisplay);
    }
}

void changeModeBack() {
    const std::string path = ResolutionOriginalsStore::defaultPath();
    const auto pending = ResolutionOriginalsStore::pendingEntries(path);
    const auto known = pending.find(firstID);
    if (known == pending.end()) {
        return;
    }
    const auto mode =
        DisplayModeControl::exactMatch(known->second, DisplayModeControl::modes(firstDisplay));
    if (mode && DisplayModeControl::apply(mode->modeNum, firstDisplay)) {
        ResolutionOriginalsStore::clear(firstID, path);
    }
}

std::vector<OriginalsEntry> usersArrangement() {
    return {{.uuid = firstID}, {.uuid = secondID, .x = 1512}};
}

void saveArrangement() {
    OriginalsStore::saveArrangement(bothIDs, usersArrangement(), OriginalsStore::defaultPath());
}

void separateDisplays() {
    saveArrangement();
    SeparatedSetsStore::markSeparated(bothIDs, SeparatedSetsStore::defaultPath());
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 982)}});
}

void joinDisplays() {
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 0)}});
    SeparatedSetsStore::clearSeparated(bothIDs, SeparatedSetsStore::defaultPath());
}

const std::vector<OriginalsEntry> pinned = {{.uuid = firstID},
                                            {.uuid = secondID, .x = 1512, .y = 300}};

void pinDisplays() {
    const std::string path = SidePinnedSetsStore::defaultPath();
    saveArrangement();
    SidePinnedSetsStore::premarkSidePinned(bothIDs, pinned, path);
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 300)}});
    SidePinnedSetsStore::markSidePinned(bothIDs, pinned, path);
}

void unpinDisplays() {
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 0)}});
    SidePinnedSetsStore::clearSidePinned(bothIDs, SidePinnedSetsStore::defaultPath());
}

void mirrorDisplays() {
    const std::string path = NativeMirroredSetsStore::defaultPath();
    saveArrangement();
    NativeMirroredSetsStore::premarkNativeMirrored(bothIDs, pinned, path);
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 300)}});
}

void unmirrorDisplays() {
    DisplayApply::applyOriginalsToHardware(
        {{.displayID = secondDisplay, .origin = CGPointMake(1512, 0)}});
    NativeMirroredSetsStore::clearNativeMirrored(bothIDs, NativeMirroredSetsStore::defaultPath());
}

// A set of displays that are not connected, before and after one of them is renamed.
const std::string oldIDs = "old,other";
const std::string newIDs = "new,other";

void nameDisplays() {
    const std::vector<OriginalsEntry> entries{{.uuid = "old"}, {.uuid = "other", .x = 1512}};
    OriginalsStore::saveArrangement(oldIDs, entries, OriginalsStore::defaultPath());
    SeparatedSetsStore::markSeparated(oldIDs, SeparatedSetsStore::defaultPath());
    SidePinnedSetsStore::markSidePinned(oldIDs, entries, SidePinnedSetsStore::defaultPath());
    NativeMirroredSetsStore::markNativeMirrored(oldIDs, entries,
                                                NativeMirroredSetsStore::defaultPath());
    separateDisplays();
}

void renameDisplays() {
    const std::map<std::string, std::string> mapping{{"old", "new"}};
    OriginalsStore::migrateUUIDs(mapping, OriginalsStore::defaultPath());
    SeparatedSetsStore::migrateCanonicalIDs(mapping, SeparatedSetsStore::defaultPath());
    SidePinnedSetsStore::migrateCanonicalIDs(mapping, SidePinnedSetsStore::defaultPath());
    NativeMirroredSetsStore::migrateCanonicalIDs(mapping, NativeMirroredSetsStore::defaultPath());
}

constexpr Part allParts[] = {
    {"corners", suppressCorners, releaseCorners},
    {"screen_saver", holdScreenSaver, releaseScreenSaver},
    {"dock", hideDock, showDock},
    {"menu_bar", hideMenuBar, showMenuBar},
    {"mode", changeMode, changeModeBack},
    {"separated", separateDisplays, joinDisplays},
    {"pinned", pinDisplays, unpinDisplays},
    {"mirrored", mirrorDisplays, unmirrorDisplays},
    {"names", nameDisplays, renameDisplays},
};

std::vector<std::string> filesWhere(bool (*isWanted)(const std::string& name)) {
    std::vector<std::string> names;
    if (fs::exists(TolvaranPaths::stateDir())) {
        for (const auto& entry : fs::directory_iterator(TolvaranPaths::stateDir())) {
            const std::string name = entry.path().filename().string();
            if (isWanted(name)) {
                names.push_back(name);
            }
        }
    }
    return names;
}

}  // namespace

const json& usersMac() {
    static const json mac = json::parse(usersMacText);
    return mac;
}

std::span<const Part> parts() {
    return allParts;
}

json settings() {
    const json mac = simulator::machine();
    return {{"displays", mac.at("displays")},
            {"preferences", mac.at("preferences")},
            {"dock", mac.at("dock")},
            {"menuBar", mac.at("menuBar")}};
}

std::vector<std::string> unfinishedRecords() {
    return filesWhere([](const std::string& name) {
        return name.find(".unfinished-") != name.npos || name.find(".removing-") != name.npos;
    });
}

std::map<std::string, std::size_t> keptRecords() {
    std::map<std::string, std::size_t> counts;
    const auto count = [&](std::set<std::string> signatures) {
        // Renaming merges a set with one that has its new name already.
        if (signatures.erase(newIDs) != 0) {
            signatures.insert(oldIDs);
        }
        for (const std::string& signature : signatures) {
            ++counts[signature];
        }
    };
    const auto countAbsent = [&](const std::vector<std::string>& marks) {
        std::set<std::string> absent(marks.begin(), marks.end());
        std::erase_if(absent, [](const std::string& signature) {
            return signature != oldIDs && signature != newIDs;
        });
        count(std::move(absent));
    };
    std::set<std::string> arranged;
    for (const auto& [signature, entries] :
         OriginalsStore::load(OriginalsStore::defaultPath()).arrangements) {
        arranged.insert(signature);
    }
    count(std::move(arranged));
    countAbsent(SeparatedSetsStore::signatures(SeparatedSetsStore::defaultPath()));
    countAbsent(SidePinnedSetsStore::signatures(SidePinnedSetsStore::defaultPath()));
    countAbsent(NativeMirroredSetsStore::signatures(NativeMirroredSetsStore::defaultPath()));
    return counts;
}

std::vector<std::string> pendingRecords() {
    std::vector<std::string> names = filesWhere([](const std::string& name) {
        return name != ".display-originals" && !name.ends_with("-sets.json");
    });
    const auto add = [&](const std::vector<std::string>& marks) {
        names.insert(names.end(), marks.begin(), marks.end());
    };
    add(SeparatedSetsStore::signatures(SeparatedSetsStore::defaultPath()));
    add(SidePinnedSetsStore::signatures(SidePinnedSetsStore::defaultPath()));
    add(NativeMirroredSetsStore::signatures(NativeMirroredSetsStore::defaultPath()));
    std::erase(names, oldIDs);  // no display of these is connected
    std::erase(names, newIDs);
    return names;
}

}  // namespace tolvaran::tests
