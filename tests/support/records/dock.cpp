// The records of the Dock: the hot corners, the auto-hide marker, and the screen saver's hold.
#include <algorithm>
#include <array>

#include "restore/dock/formats.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/support/records/checks.hpp"
#include "tests/support/records/rows.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using namespace checks;

// --- The files.

bool isFourInt32(const json& value) {
    return isListOf<isInt32>(value) && value.size() == 4;
}

bool isCornerSnapshot(const json& value) {
    constexpr std::array fields{"tlCorner", "tlModifier", "trCorner", "trModifier",
                                "blCorner", "blModifier", "brCorner", "brModifier"};
    const auto isMissing = [&](const char* key) {
        return !value.contains(key) || value[key].is_null();
    };
    return std::all_of(fields.begin(), fields.end(),
                       [&](const char* key) { return mayHave(value, key, isInt32); }) &&
           ((isMissing("liveActions") && isMissing("liveModifiers")) ||
            (has(value, "liveActions", isFourInt32) && has(value, "liveModifiers", isFourInt32)));
}

bool isDockMarker(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "restoreTo", isFlag);
}

// --- Their end.

/// A later snapshot may replace it only while it is in force, or if it says the same.
bool cornersMayBecome(const json& before, const json& after, const Moment& moment) {
    constexpr std::array corners{"tl", "tr", "bl", "br"};
    const json live = member(before, "liveActions");
    const json stored = member(moment.mac.at("preferences"), "com.apple.dock");
    const json& dock = moment.mac.at("dock");
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::string corner = corners[i];
        const auto isKept = [&](const char* field, const char* key) {
            const json wanted = member(before, corner + field);
            return wanted == member(stored, "wvous-" + corner + key) ||
                   (!after.is_null() && wanted == member(after, corner + field));
        };
        const json action = member(before, corner + "Corner");
        const json shown = live.is_array() ? live[i] : action.is_null() ? json(1) : action;
        if (!isKept("Corner", "-corner") || !isKept("Modifier", "-modifier") ||
            (after.is_null() && dock.at("cornerActions")[i] != shown)) {
            return false;
        }
    }
    return true;
}

/// A marker that cannot be used is discarded.
bool dockMarkerMayBecome(const json& before, const json& after, const Moment& moment) {
    return after.is_null() && (!isDockMarker(before) ||
                               moment.mac.at("dock").at("autoHide") == before.at("restoreTo"));
}

bool holdMayBecome(const json& /*before*/, const json& after, const Moment& moment) {
    return after.is_null() &&
           std::any_of(moment.posted.begin(), moment.posted.end(), [](const json& notification) {
               return notification.at("name") == "com.apple.screensaver.action" &&
                      notification.at("userInfo") == json{{"action", 3}};
           });
}

// --- What the library does with them.

DockHotCornerSnapshot corners(std::int64_t action) {
    DockHotCornerSnapshot snapshot;
    snapshot.tlCorner = action;
    return snapshot;
}

// --- The failures that may lose them.

const std::vector<Loss> cornersLosses = {
    {{"stat ENOENT", "stat ENOTDIR"},
     "State/hot-corners-snapshot\\.json",
     "record|mac/(preferences/com\\.apple\\.dock/.*|dock/corner(Actions|Modifiers)/[0-9])",
     "if the file system says that there is no earlier snapshot, a new one is taken",
     true},
    {{"CFPreferencesCopyValue"},
     "",
     "record|mac/preferences/.*",
     "a preference that cannot be read counts as one that is not set",
     true},
    {{"CFPreferencesSetValue"},
     "",
     "record|mac/preferences/.*",
     "a preference that was set is not read back; synchronising tells whether it was stored"},
};

// --- The rows.

const std::vector<FailureLine> cornersLines = {
    {{"CFPreferencesAppSynchronize"},
     "",
     "warn: hot-corner (restoreIfPending|exit): CFPreferencesAppSynchronize failed; snapshot "
     "kept at .* for retry|warn: the main application gave up: could not sync com.apple.dock "
     "prefs after writing wvous-\\*-corner"},
    {{"CoreDockGetExposeCornerActionsWithModifiers"},
     "",
     "warn: hot-corner restore could not be verified because the CoreDock getter is "
     "unavailable|warn: hot-corner release could not refresh native suppression while other "
     "owners remain|warn: the main application gave up: could not sync .*",
     true},
    {{"dlsym"},
     "CoreDock.*",
     "warn: hot-corner restore found the CoreDock setter unavailable and restored raw "
     "preferences only|warn: hot-corner disable failed because required CoreDock functions are "
     "unavailable"},
};

Record hotCorners() {
    return {
        .path = "State/hot-corners-snapshot.json",
        .name = "hot-corner snapshot",
        .isUsable = isCornerSnapshot,
        .fate = Fate::kept,
        .unusableLine =
            "warn: hot-corner snapshot at State/hot-corners-snapshot.json failed to decode: ",
        .places = "mac/(preferences/com\\.apple\\.dock.*|dock/corner.*)",
        .example = R"({"blCorner":4,"blModifier":0,"brCorner":1,"brModifier":131072,)"
                   R"("liveActions":[2,5,4,13],"liveModifiers":[0,1048576,0,131072],)"
                   R"("tlCorner":2,"tlModifier":0,"trCorner":5,"trModifier":1048576})",
        .mayBecome = cornersMayBecome,
        .notWritten =
            "warn: hot-corner .* could not re-persist its recovery snapshot: .*|"
            "warn: the main application gave up: could not persist hot-corner snapshot: .*",
        .lines = cornersLines,
        .losses = cornersLosses,
        .changes = {
            [](const auto& path) { DockHotCornerOverride::saveSnapshotOrThrow(corners(2), path); },
            [](const auto& path) { DockHotCornerOverride::saveSnapshot(corners(5), path); },
            [](const auto& path) { DockHotCornerOverride::deleteSnapshot(path); }},
        .read = [](const auto& path) { return textOf(DockHotCornerOverride::loadSnapshot(path)); }};
}

Record dockMarker() {
    return {.path = "State/dock-autohide-pending.json",
            .name = "Dock marker",
            .isUsable = isDockMarker,
            .fate = Fate::discarded,
            .places = "mac/(preferences/com\\.apple\\.dock/autohide|dock/autoHide)",
            .example = R"({"version":1,"restoreTo":true})",
            .mayBecome = dockMarkerMayBecome,
            // A wrong answer looks like a right one, and setting the value returns nothing.
            .lines = {{{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}, "", ""}},
            .losses = {{reading, "State/dock-autohide-pending\\.json", "record|mac/dock/autoHide",
                        "a marker that cannot be read is removed, so that a bad file never blocks "
                        "later restores"},
                       {{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"},
                        "",
                        "record|mac/dock/autoHide",
                        "the Dock is not asked whether it took the value, and the marker goes"}},
            .changes = {[](const auto& path) { DockAutoHideOverride::markPending(true, path); },
                        [](const auto& path) { DockAutoHideOverride::markPending(false, path); },
                        [](const auto& path) { DockAutoHideOverride::clearPending(path); }},
            .read = [](const auto& path) {
                return textOf(DockAutoHideOverride::pendingRestoreValue(path)) +
                       (DockAutoHideOverride::isPending(path) ? ", pending" : "");
            }};
}

Record screenSaverHold() {
    return {.path = "State/hot-corner-screen-saver-hold",
            .name = "screen saver hold",
            .fate = Fate::unread,
            .example = "1",
            .mayBecome = holdMayBecome,
            .notWritten = "warn: screen-saver hot-corner hold marker could not be saved \\(.*\\)",
            .notRemoved = "warn: screen-saver hot-corner hold marker could not be removed \\(.*\\)",
            .losses = {{{"CFNotificationCenterPostNotification",
                         "CFNotificationCenterGetDistributedCenter"},
                        "",
                        "record",
                        "posting a notification does not report success, and the marker goes"}},
            .changes = {[](const auto& path) { ScreenSaverHotCornerHold::begin(path); },
                        [](const auto& path) { ScreenSaverHotCornerHold::end(path); }},
            .read = [](const auto& path) {
                return std::string(ScreenSaverHotCornerHold::isPending(path) ? "held" : "none");
            }};
}

}  // namespace

std::vector<Record> dockRecords() {
    return {hotCorners(), dockMarker(), screenSaverHold()};
}

}  // namespace tolvaran::tests
