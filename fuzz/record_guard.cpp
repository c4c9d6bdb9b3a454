#include "fuzz/record_guard.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>

#include "restore/arrangement/zigzag.hpp"
#include "restore/paths/restore_log.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::fuzz {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// The element of an object; null when it is missing or null, or there is no object.
json member(const json& object, const std::string& key) {
    return object.is_object() && object.contains(key) ? object.at(key) : json();
}

template <typename Accepts>
bool anyDisplay(Accepts accepts) {
    const auto& displays = simulator::mac().displays;
    return std::any_of(displays.begin(), displays.end(), accepts);
}

json preference(const std::string& domain, const std::string& key) {
    const auto& domains = simulator::mac().preferences;
    const auto values = domains.find(domain);
    if (values == domains.end() || !values->second.contains(key)) {
        return {};
    }
    return values->second.at(key);
}

// One function for each kind of record: whether `before` may become `after` now. `after` is null
// when the file goes.

bool shows(const simulator::Display& display, const json& spec) {
    return std::any_of(
        display.modes.begin(), display.modes.end(), [&](const simulator::DisplayMode& mode) {
            return display.mode == mode.number && spec.at("width") == mode.width &&
                   spec.at("height") == mode.height && spec.at("scaled") == (mode.density > 1.5F) &&
                   (spec.at("hz") == 0 || spec.at("hz") == std::round(mode.hz));
        });
}

bool isPossible(const json& spec) {
    return spec.at("width") > 0 && spec.at("height") > 0 && spec.at("hz") >= 0;
}

bool modesMayGo(const json& before, const json& after) {
    const json entries = member(before, "entries");
    for (const auto& [uuid, spec] : entries.items()) {
        const bool stays = member(member(after, "entries"), uuid) == spec;
        const auto isShown = [&, &mode = spec](const auto& display) {
            return shows(display, mode);
        };
        if (!stays && isPossible(spec) && !anyDisplay(isShown)) {
            return false;
        }
    }
    return true;
}

bool globalsAreInForce(const json& snapshot) {
    const json hide = member(snapshot, "hideMenuBar");
    const json visible = member(snapshot, "visibleInFullscreen");
    const auto stored = [](const json& value) {
        return value.is_null() ? value : json(value != 0);
    };
    return preference("global", "_HIHideMenuBar") == stored(hide) &&
           preference("global", "AppleMenuBarVisibleInFullscreen") == stored(visible) &&
           simulator::mac().menuBar.autoHide == (stored(hide) == true);
}

bool isSettledGlobally(const json& snapshot) {
    return member(snapshot, "globalRestored") == true || member(snapshot, "pendingOnly") == true;
}

bool menuBarMayGo(const json& before, const json& after) {
    const json records = member(before, "displayVisibilityOverrides");
    const bool settled = after.is_null() || isSettledGlobally(after);
    if (settled && !isSettledGlobally(before) && !globalsAreInForce(before)) {
        return false;
    }
    if (!after.is_null()) {
        return records == member(after, "displayVisibilityOverrides") &&
               member(before, "hideMenuBar") == member(after, "hideMenuBar") &&
               member(before, "visibleInFullscreen") == member(after, "visibleInFullscreen");
    }
    // Of several records for one display one alone is in force.
    return records.size() != 1 || anyDisplay([&](const simulator::Display& display) {
               return records[0].at("enabled") == display.menuBarOverride;
           });
}

bool cornersMayGo(const json& before, const json& after) {
    constexpr std::array<const char*, 4> corners = {"tl", "tr", "bl", "br"};
    const json live = member(before, "liveActions");
    const auto& dock = simulator::mac().dock;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::string corner = corners[i];
        const json action = member(before, corner + "Corner");
        const json wanted = live.is_array() ? live[i] : action.is_null() ? json(1) : action;
        if (preference("com.apple.dock", "wvous-" + corner + "-corner") != action ||
            preference("com.apple.dock", "wvous-" + corner + "-modifier") !=
                member(before, corner + "Modifier") ||
            dock.cornerActions[i] != wanted) {
            return false;
        }
    }
    return after.is_null();
}

/// A marker that is none is discarded, so that it never blocks later restores.
bool dockMarkerMayGo(const json& before, const json& after) {
    const json wanted = member(before, "restoreTo");
    const bool isMarker = wanted.is_boolean() && member(before, "version") == 1;
    return after.is_null() && (!isMarker || simulator::mac().dock.autoHide == wanted);
}

bool holdMayGo(const json& /*before*/, const json& after) {
    const json posted = simulator::notifications();
    return after.is_null() && std::any_of(posted.begin(), posted.end(), [](const json& one) {
               return one.at("name") == "com.apple.screensaver.action" &&
                      one.at("userInfo") == json{{"action", 3}};
           });
}

/// Not while a layout stands that only the main application makes.
bool marksMayGo(const json& /*before*/, const json& /*after*/) {
    std::vector<DisplayFrame> frames;
    for (const simulator::Display& display : simulator::mac().displays) {
        frames.push_back({.displayID = display.id, .frame = display.frame});
    }
    const auto log = std::exchange(RestoreLog::info, [](const std::string&) {});
    const bool isZigzag = Zigzag::isZigzag(frames);
    RestoreLog::info = log;
    return !isZigzag;
}

bool mustStay(const json& /*before*/, const json& /*after*/) {
    return false;
}

/// What one record stands under.
struct Rule {
    const char* record;
    bool (*mayGo)(const json& before, const json& after);
    // The calls whose failure the helper is not told of, or is to pass over: with one of them at
    // fault the record may go too early.
    std::vector<std::string> exceptions;
};

const std::vector<Rule>& rules() {
    static const std::vector<Rule> table = {
        {"State/.display-originals", mustStay, {}},
        {"Settings/preferences.json", mustStay, {}},
        // Only the completion of a configuration tells whether a mode was taken.
        {"State/.resolution-originals", modesMayGo, {"CGSConfigureDisplayMode"}},
        // Preferences that were set are not read back.
        {"State/menubar-state.json",
         menuBarMayGo,
         {"CFPreferencesSetValue", "SLSGetMenuBarVisibilityOverrideOnDisplay"}},
        {"State/hot-corners-snapshot.json", cornersMayGo, {"CFPreferencesSetValue"}},
        // A marker that cannot be read is discarded like a bad one, and the Dock is not asked
        // whether it took the value.
        {"State/dock-autohide-pending.json",
         dockMarkerMayGo,
         {"open", "fstat", "read", "CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}},
        // Posting tells of no failure.
        {"State/hot-corner-screen-saver-hold",
         holdMayGo,
         {"CFNotificationCenterPostNotification", "CFNotificationCenterGetDistributedCenter"}},
        // Displays that have no bounds touch nobody.
        {"State/separated-sets.json", marksMayGo, {"CGDisplayBounds"}},
        {"State/side-pinned-sets.json", marksMayGo, {"CGDisplayBounds"}},
        {"State/native-mirrored-sets.json", marksMayGo, {"CGDisplayBounds"}},
    };
    return table;
}

/// What is being written to take the file's place.
std::optional<std::string> unfinishedContent(const std::string& path) {
    const fs::path file(path);
    const std::string prefix = "." + file.filename().string() + ".unfinished-";
    for (const auto& entry : fs::directory_iterator(file.parent_path())) {
        if (entry.path().filename().string().starts_with(prefix)) {
            return tests::readFile(entry.path().string());
        }
    }
    return std::nullopt;
}

json parsed(const std::optional<std::string>& content) {
    const json value = json::parse(content.value_or("null"), nullptr, false);
    return value.is_discarded() ? json() : value;
}

}  // namespace

RecordGuard::RecordGuard(std::string root, const std::vector<std::string>& faulty)
    : root_(std::move(root)), faulty_(faulty.begin(), faulty.end()) {}

void RecordGuard::watch(const std::string& function) {
    if (function != "unlink" && function != "rename") {
        return;
    }
    const std::string directory = root_ + "/ApplicationSupport/";
    const std::string path = simulator::callSubject();
    if (path.starts_with(directory)) {
        check(path.substr(directory.size()), path, function);
    }
}

void RecordGuard::check(const std::string& name, const std::string& path,
                        const std::string& function) {
    const auto rule = std::find_if(rules().begin(), rules().end(),
                                   [&](const Rule& one) { return one.record == name; });
    const std::optional<std::string> content = tests::readFile(path);
    if (rule == rules().end() || !content) {
        return;  // an unfinished file, the heartbeat, or nothing that could be lost
    }
    const bool isExcepted =
        std::any_of(rule->exceptions.begin(), rule->exceptions.end(),
                    [&](const std::string& call) { return faulty_.contains(call); });
    const json before = parsed(content);
    const json after = function == "rename" ? parsed(unfinishedContent(path)) : json();
    const bool staysAsItIs = !before.is_null() && before == after;
    if (!isExcepted && !staysAsItIs && !rule->mayGo(before, after)) {
        losses_.push_back(name + " went from " + before.dump() + " to " + after.dump());
    }
}

}  // namespace tolvaran::fuzz
