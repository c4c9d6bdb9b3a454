// What the main application does with the library, on a small scale: takes a hot-corner lease and
// gives it back, writes one record of every kind and reads each of them back. Everything goes below
// the directory that TOLVARAN_APPLICATION_SUPPORT_DIR names.
#include <restore/tolvaran_restore.hpp>

#include <cstdint>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

// Both at once: the public headers must not declare a tolvaran::json.
using namespace tolvaran;
using nlohmann::json;

namespace {

static_assert(std::is_same_v<json, nlohmann::json>);

int failures = 0;

std::vector<CGDirectDisplayID> activeDisplays() {
    std::vector<CGDirectDisplayID> displays(32);
    std::uint32_t count = 0;
    CGGetActiveDisplayList(32, displays.data(), &count);
    displays.resize(count);
    return displays;
}

void check(bool holds, const std::string& what) {
    if (!holds) {
        ++failures;
        std::cerr << "does not hold: " << what << "\n";
    }
}

void takeALease() {
    const std::string path = DockHotCornerOverride::defaultSnapshotPath();
    constexpr auto owner = DockHotCornerLeaseOwner::gameMode;
    DockHotCornerOverride::enter(owner, path, "com.apple.dock");
    check(DockHotCornerOverride::isHeld(owner), "a lease that was taken is held");
    check(DockHotCornerOverride::hasRecoveryState(path), "a suppression can be undone");
    const auto outcome = DockHotCornerOverride::exit(owner, path, "com.apple.dock");
    check(outcome == DockHotCornerLeaseExitOutcome::restored, "the last lease restores");
    check(!DockHotCornerOverride::hasRecoveryState(path), "nothing is left to undo");

    DockHotCornerSnapshot snapshot;
    snapshot.tlCorner = 5;
    DockHotCornerOverride::saveSnapshot(snapshot, path);
    check(DockHotCornerOverride::loadSnapshot(path) == snapshot, "the hot-corner snapshot");
}

void recordArrangements(const std::string& signature, const std::vector<OriginalsEntry>& entries) {
    OriginalsFile originals;
    originals.arrangements[signature] = entries;
    OriginalsStore::save(originals, OriginalsStore::defaultPath());
    check(OriginalsStore::load(OriginalsStore::defaultPath()) == originals, "the originals");

    const std::vector<std::string> marked = {signature};
    const std::string separated = SeparatedSetsStore::defaultPath();
    SeparatedSetsStore::markSeparated(signature, separated);
    check(SeparatedSetsStore::signatures(separated) == marked, "the separated sets");
    const std::string sidePinned = SidePinnedSetsStore::defaultPath();
    SidePinnedSetsStore::markSidePinned(signature, entries, sidePinned);
    check(SidePinnedSetsStore::signatures(sidePinned) == marked, "the side-pinned sets");
    const std::string mirrored = NativeMirroredSetsStore::defaultPath();
    NativeMirroredSetsStore::markNativeMirrored(signature, entries, mirrored);
    check(NativeMirroredSetsStore::signatures(mirrored) == marked, "the native-mirrored sets");
}

void recordModes(const std::string& display) {
    const DisplayModeSpec spec = {.width = 2560, .height = 1440, .scaled = true, .hz = 60};
    const std::string path = ResolutionOriginalsStore::defaultPath();
    ResolutionOriginalsStore::recordIfAbsent(display, spec, path);
    check(ResolutionOriginalsStore::pendingEntries(path).at(display) == spec, "the original modes");
}

void recordMenuBarAndDock() {
    const MenuBarAutohideSnapshot snapshot = MenuBarAutohide::readCurrent();
    const std::string menuBar = MenuBarAutohide::defaultSnapshotPath();
    check(MenuBarAutohide::saveSnapshot(snapshot, menuBar), "the menu bar can be recorded");
    check(MenuBarAutohide::loadSnapshot(menuBar) == snapshot, "the menu bar");

    const std::string dock = DockAutoHideOverride::defaultSnapshotPath();
    DockAutoHideOverride::markPending(true, dock);
    check(DockAutoHideOverride::pendingRestoreValue(dock) == true, "the Dock's auto-hide");

    const std::string hold = ScreenSaverHotCornerHold::defaultMarkerPath();
    check(ScreenSaverHotCornerHold::begin(hold), "the screen saver can be held");
    check(ScreenSaverHotCornerHold::isPending(hold), "a hold is pending");
    check(ScreenSaverHotCornerHold::end(hold), "the hold can be ended");
    check(ScreenSaverHotCornerHold::begin(hold), "the screen saver can be held again");
}

void touchHeartbeat() {
    const auto now = HelperHeartbeat::currentDate();
    const std::string path = HelperHeartbeat::defaultPath();
    check(HelperHeartbeat::touch(path, now), "the heartbeat can be written");
    check(HelperHeartbeat::isFresh(path, now), "the heartbeat is fresh");
}

}  // namespace

int main() {
    RestoreLog::warn = [](const std::string& message) {
        ++failures;
        std::cerr << "warning: " << message << "\n";
    };
    std::vector<std::string> displays;
    std::vector<OriginalsEntry> entries;
    for (const CGDirectDisplayID display : activeDisplays()) {
        const CGPoint origin = CGDisplayBounds(display).origin;
        displays.push_back(displayUUID(display));
        entries.push_back({.uuid = displays.back(), .x = origin.x, .y = origin.y});
    }
    check(!displays.empty(), "there is a display");
    if (displays.empty()) {
        return 1;
    }
    takeALease();
    recordArrangements(Zigzag::signature(displays), entries);
    recordModes(displays.front());
    recordMenuBarAndDock();
    touchHeartbeat();
    ScreenSaverHotCornerHold::end(ScreenSaverHotCornerHold::defaultMarkerPath());
    return failures == 0 ? 0 : 1;
}
