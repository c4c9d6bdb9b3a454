#include "tests/support/records/records.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <regex>

#include "restore/arrangement/formats.hpp"
#include "restore/dock/formats.hpp"
#include "restore/menubar/formats.hpp"
#include "restore/modes/formats.hpp"
#include "restore/support/json.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/support/records/formats.hpp"
#include "tests/support/records/in_force.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

// --- What the library does with records.

const std::string pair = "HW-1,HW-2";
const MarkedLayout layout = {{.uuid = "HW-1", .x = 0, .y = 0}, {.uuid = "HW-2", .x = 800, .y = 0}};
const MarkedLayout otherLayout = {{.uuid = "HW-1", .x = 0, .y = 0}};
const std::map<std::string, std::string> renaming = {{"HW-2", "HW-3"}};

DockHotCornerSnapshot corners(std::int64_t action) {
    DockHotCornerSnapshot snapshot;
    snapshot.tlCorner = action;
    return snapshot;
}

template <typename Record>
std::string textOf(const Record& record) {
    return tolvaran::json::write(record);
}

template <typename Value>
std::string textOf(const std::optional<Value>& value) {
    return value ? textOf(*value) : "none";
}

void saveOriginals(const MarkedLayout& entries, const std::string& path) {
    OriginalsStore::save({.arrangements = {{pair, entries}}}, path);
}

std::vector<Change> layoutWrites(const SetMarks& marks) {
    return {[=](const auto& path) { LayoutSets::premark(marks, pair, layout, path); },
            [=](const auto& path) { LayoutSets::premark(marks, pair, otherLayout, path); },
            [=](const auto& path) { LayoutSets::mark(marks, pair, layout, path); },
            [=](const auto& path) {
                LayoutSets::restoreCandidates(marks, pair, {otherLayout, layout}, path);
            },
            [=](const auto& path) { LayoutSets::migrateCanonicalIDs(marks, renaming, path); },
            [=](const auto& path) { LayoutSets::clear(marks, "HW-1,HW-3", path); }};
}

const DisplayModeSpec mode = {.width = 2560, .height = 1440, .scaled = false, .hz = 60};

// --- The failures that may lose them.

// The calls that read a file whole.
const std::vector<std::string> reading{"open", "fstat", "read"};

const std::string frames = "mac/displays/[0-9]+/frame/[0-9]";
const std::string markFiles = "State/(separated|side-pinned|native-mirrored)-sets\\.json";
const std::string inMarks = "files/State~1(separated|side-pinned|native-mirrored)-sets\\.json/.*";

const std::vector<Loss> marksLosses = {
    {{"CGDisplayBounds"},
     "",
     "record|" + frames + "|" + inMarks,
     "displays without bounds touch no other: a zigzag of them goes unseen until the next run"},
    {reading, markFiles, inMarks,
     "a mark that could not be read is not cleared; it stays until its set of displays is seen "
     "healthy again"},
};

const std::vector<Loss> menuBarLosses = {
    {{"open", "fstat", "read", "unlink", "mkostemp", "write", "fsync", "rename", "stat", "mkdir",
      "CGSMainConnectionID", "CGSSetMenuBarAutohideEnabled", "CFPreferencesSynchronize",
      "CFDictionaryCreate", "CFStringCreateWithBytes"},
     "(State|State/menubar-state\\.json)?",
     "mac/(preferences/global/(_HIHideMenuBar|AppleMenuBarVisibleInFullscreen)|menuBar/autoHide)",
     "what the user changes while a restore has yet to succeed gives way to the snapshot"},
    {{"SLSGetMenuBarVisibilityOverrideOnDisplay"},
     "",
     "record|mac/displays/[0-9]+/menuBarOverride",
     "an override that reads as it should counts as put back"},
    {{"CFPreferencesSetValue"},
     "",
     "record|mac/preferences/.*",
     "a preference that was set is not read back; synchronising tells whether it was stored"},
};

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

const std::string framesAndMarks = frames +
                                   "|files/State~1(separated|side-pinned|native-mirrored)"
                                   "-sets\\.json.*";

const std::string layoutsExample =
    R"("arrangements":{"A,B":[[{"uuid":"A","x":0,"y":0},{"uuid":"B","x":800,"y":-2.5}]]}})";

/// A row of marks for sets of displays.
Record marks(const std::string& kind, bool (*isUsable)(const json&), const std::string& example,
             std::vector<Change> changes, std::function<std::string(const std::string&)> read) {
    return {
        .path = "State/" + kind + "-sets.json",
        .name = kind + " sets",
        .isUsable = isUsable,
        .fate = Fate::kept,
        .unusableLine = "warn: " + kind + "-sets file wrong version/unparseable, treating as empty",
        .places = framesAndMarks,
        .example = example,
        .mayBecome = in_force::marksMayBecome,
        .isRewritten = true,
        .notWritten = "warn: Failed to write " + kind + "-sets file: .*",
        .losses = marksLosses,
        .changes = std::move(changes),
        .read = std::move(read)};
}

Record originals() {
    return {
        .path = "State/.display-originals",
        .name = "originals",
        .isUsable = formats::isOriginals,
        .fate = Fate::kept,
        .unusableLine = "warn: originals file missing/wrong version/unparseable, starting fresh",
        .places = framesAndMarks,
        .example = R"({"version":2,"arrangements":{"A,B":[{"uuid":"A","x":0,"y":0},)"
                   R"({"uuid":"B","x":800,"y":-2.5}]}})",
        .isRewritten = true,
        .notWritten = "warn: Failed to write originals file: .*",
        .losses = {{reading, "State/\\.display-originals", frames,
                    "unreadable originals count as an empty store, and the generated row takes "
                    "their place"}},
        .changes = {[](const auto& path) { saveOriginals(layout, path); },
                    [](const auto& path) { saveOriginals(otherLayout, path); },
                    [](const auto& path) { saveOriginals(layout, path); },
                    [](const auto& path) { OriginalsStore::migrateUUIDs(renaming, path); }},
        .read = [](const auto& path) { return textOf(OriginalsStore::load(path)); }};
}

Record resolutionOriginals() {
    return {
        .path = "State/.resolution-originals",
        .name = "resolution originals",
        .isUsable = formats::isResolutionOriginals,
        .fate = Fate::kept,
        .unusableLine =
            "warn: resolution originals file missing/wrong version/unparseable, starting fresh",
        .places = "mac/displays/[0-9]+/(mode|frame/[0-9])",
        .example = R"({"version":1,"entries":{"A":{"width":2560,"height":1440,"scaled":true,)"
                   R"("hz":60}}})",
        .mayBecome = in_force::modesMayBecome,
        .isRewritten = true,
        .notWritten = "warn: Failed to write resolution originals file: .*",
        .losses = {{{"CGSConfigureDisplayMode"},
                    "",
                    "record|mac/displays/[0-9]+/(mode|frame/[0-9])|"
                    "files/State~1\\.resolution-originals.*",
                    "only the completion of a configuration counts"}},
        .changes = {
            [](const auto& path) { ResolutionOriginalsStore::recordIfAbsent("HW-1", mode, path); },
            [](const auto& path) { ResolutionOriginalsStore::recordIfAbsent("HW-2", mode, path); },
            [](const auto& path) { ResolutionOriginalsStore::clear("HW-1", path); },
            [](const auto& path) { ResolutionOriginalsStore::clear("HW-2", path); }},
        .read = [](const auto& path) { return textOf(ResolutionOriginalsStore::load(path)); }};
}

Record menuBar() {
    return {
        .path = "State/menubar-state.json",
        .name = "menu bar snapshot",
        .isUsable = formats::isMenuBarSnapshot,
        .fate = Fate::kept,
        .unusableLine = "warn: menu bar snapshot at State/menubar-state.json failed to decode: ",
        .places = "mac/(preferences/global.*|menuBar/autoHide|displays/[0-9]+/menuBarOverride)",
        .example = R"({"displayVisibilityOverrides":[{)"
                   R"("canonicalID":"HW-1552-41040-4251086178","enabled":true,)"
                   R"("hardwareID":"HW-1552-41040-4251086178",)"
                   R"("portUUID":"37D8832A-2D66-02CA-B9F7-8F30A301B230"}],)"
                   R"("globalRestored":false,"hideMenuBar":0,"pendingOnly":false,)"
                   R"("visibleInFullscreen":1})",
        .mayBecome = in_force::menuBarMayBecome,
        .isRewritten = true,
        .notWritten = "warn: Failed to write menu bar snapshot: .*",
        .notRemoved = "warn: menu bar snapshot at .* could not be deleted: .*",
        .losses = menuBarLosses,
        .changes = {
            [](const auto& path) { MenuBarAutohide::saveSnapshot({.hideMenuBar = 0}, path); },
            [](const auto& path) {
                MenuBarAutohide::saveSnapshot({.hideMenuBar = 0, .pendingOnly = true}, path);
            },
            [](const auto& path) { MenuBarAutohide::deleteSnapshot(path); }},
        .read = [](const auto& path) { return textOf(MenuBarAutohide::loadSnapshot(path)); }};
}

Record hotCorners() {
    return {
        .path = "State/hot-corners-snapshot.json",
        .name = "hot-corner snapshot",
        .isUsable = formats::isCornerSnapshot,
        .fate = Fate::kept,
        .unusableLine =
            "warn: hot-corner snapshot at State/hot-corners-snapshot.json failed to decode: ",
        .places = "mac/(preferences/com\\.apple\\.dock.*|dock/corner.*)",
        .example = R"({"blCorner":4,"blModifier":0,"brCorner":1,"brModifier":131072,)"
                   R"("liveActions":[2,5,4,13],"liveModifiers":[0,1048576,0,131072],)"
                   R"("tlCorner":2,"tlModifier":0,"trCorner":5,"trModifier":1048576})",
        .mayBecome = in_force::cornersMayBecome,
        .notWritten =
            "warn: hot-corner .* could not re-persist its recovery snapshot: .*|"
            "warn: the main application gave up: could not persist hot-corner snapshot: .*",
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
            .isUsable = formats::isDockMarker,
            .fate = Fate::discarded,
            .places = "mac/(preferences/com\\.apple\\.dock/autohide|dock/autoHide)",
            .example = R"({"version":1,"restoreTo":true})",
            .mayBecome = in_force::dockMarkerMayBecome,
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
            .mayBecome = in_force::holdMayBecome,
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

/// The main application's; this system only reads it.
Record preferences() {
    return {
        .path = "Settings/preferences.json",
        .name = "preferences",
        .isUsable = formats::isPreferences,
        .fate = Fate::kept,
        .unusableLine = "warn: AliasMap: preferences.json unparseable, falling back to identity",
        .places = "mac/displays/[0-9]+/(frame/[0-9]|mode|menuBarOverride)|files/State~1.*",
        .example = R"({"knownDisplays":[{"ids":["HW-1552-41040-4251086178","another"],)"
                   R"("name":"built-in"}]})",
        .losses = {{reading, "Settings/preferences\\.json",
                    "mac/displays/[0-9]+/(mode|frame/[0-9])",
                    "without readable preferences every display has its own name"}},
        .read = [](const auto& path) {
            std::string text;
            for (const AliasMap::Entry& entry : AliasMap::load(path).entries) {
                text += json(entry.ids).dump();
            }
            return text;
        }};
}

const std::vector<Change> separatedChanges = {
    [](const auto& path) { SeparatedSetsStore::markSeparated(pair, path); },
    [](const auto& path) { SeparatedSetsStore::markSeparated("HW-3", path); },
    [](const auto& path) { SeparatedSetsStore::migrateCanonicalIDs(renaming, path); },
    [](const auto& path) { SeparatedSetsStore::clearSeparated("HW-3", path); }};

/// The text with each number too large for a double replaced by something that no field accepts.
/// JSON allows such numbers, and they may be where nothing reads them. A very large text stays.
std::string withoutHugeNumbers(const std::string& text) {
    constexpr std::size_t largest = 1'000'000;
    if (text.size() > largest) {
        return text;
    }
    std::string result;
    bool isInText = false;
    for (const char* at = text.c_str(); at != text.c_str() + text.size();) {
        const bool isEscaped = isInText && *at == '\\' && at[1] != '\0';
        isInText = isInText != (*at == '"');
        char* end = nullptr;
        const char digit = *at == '-' ? at[1] : *at;
        const bool isNumber = !isInText && std::isdigit(static_cast<unsigned char>(digit)) != 0;
        const bool isHuge = isNumber && std::isinf(std::strtod(at, &end));
        const char* const next = isNumber && end != at ? end : at + (isEscaped ? 2 : 1);
        result += isHuge ? "[{}]" : std::string(at, next);
        at = next;
    }
    return result;
}

/// The content as a document. Text with a zero byte is not one, nor is text nested too deeply.
json parsed(const std::string& content) {
    constexpr int deepest = 512;
    bool isTooDeep = content.find('\0') != std::string::npos;
    const auto measure = [&](int depth, json::parse_event_t /*event*/, json& /*value*/) {
        isTooDeep = isTooDeep || depth > deepest;
        return !isTooDeep;
    };
    json document = json::parse(withoutHugeNumbers(content), measure, false);
    return isTooDeep ? json(json::value_t::discarded) : document;
}

}  // namespace

const std::vector<Record>& records() {
    static const std::vector<Record> all = {
        originals(),
        resolutionOriginals(),
        marks("separated", formats::isSeparatedSets, R"({"version":1,"signatures":["A,B","C"]})",
              separatedChanges,
              [](const auto& path) { return textOf(SeparatedSetsStore::signatures(path)); }),
        marks("side-pinned", formats::isSidePinnedSets, R"({"version":2,)" + layoutsExample,
              layoutWrites(sidePinnedSets),
              [](const auto& path) { return textOf(SidePinnedSetsStore::load(path)); }),
        marks("native-mirrored", formats::isNativeMirroredSets, R"({"version":1,)" + layoutsExample,
              layoutWrites(nativeMirroredSets),
              [](const auto& path) { return textOf(NativeMirroredSetsStore::load(path)); }),
        menuBar(),
        hotCorners(),
        dockMarker(),
        screenSaverHold(),
        preferences(),
    };
    return all;
}

const Record* findRecord(const std::string& path) {
    const auto found = std::ranges::find(records(), path, &Record::path);
    return found == records().end() ? nullptr : &*found;
}

bool isUsable(const Record& record, const std::string& content) {
    const json document = parsed(content);
    return record.isUsable == nullptr || (!document.is_discarded() && record.isUsable(document));
}

bool mayBecome(const Record& record, const json& before, const json& after, const Moment& moment) {
    const bool mayBeReplaced = record.isRewritten || moment.byApplication;
    return record.mayBecome != nullptr && (after.is_null() || mayBeReplaced) &&
           record.mayBecome(before, after, moment);
}

bool mayBeLostBy(const Record& record, const std::string& function) {
    return std::ranges::any_of(record.losses, [&](const Loss& loss) {
        return !loss.onlyByApplication && loss.places.starts_with("record") &&
               std::ranges::find(loss.functions, function) != loss.functions.end();
    });
}

std::string escaped(const std::string& text) {
    return std::regex_replace(text, std::regex(R"([.])"), R"(\.)");
}

}  // namespace tolvaran::tests
