#include "tests/support/records/in_force.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "restore/arrangement/zigzag.hpp"
#include "restore/paths/restore_log.hpp"
#include "tests/support/records/formats.hpp"

namespace tolvaran::tests::in_force {
namespace {

using nlohmann::json;

/// The element of an object; null if it is missing or there is no object.
json member(const json& object, const std::string& key) {
    return object.is_object() && object.contains(key) ? object.at(key) : json();
}

template <typename Accepts>
bool anyDisplay(const Moment& moment, Accepts accepts) {
    const json& displays = moment.mac.at("displays");
    return std::any_of(displays.begin(), displays.end(), accepts);
}

bool isPossible(const json& spec) {
    return spec.at("width") > 0 && spec.at("height") > 0 && spec.at("hz") >= 0;
}

bool shows(const json& display, const json& spec) {
    const json& modes = display.at("modes");
    return std::any_of(modes.begin(), modes.end(), [&](const json& mode) {
        return mode.at("number") == display.at("mode") && mode.at("width") == spec.at("width") &&
               mode.at("height") == spec.at("height") &&
               (mode.at("density") > 1.5) == spec.at("scaled") &&
               (spec.at("hz") == 0 || std::round(mode.at("hz").get<double>()) == spec.at("hz"));
    });
}

/// The global preferences of the menu bar, and what the menu bar does.
json globals(const json& mac) {
    const json preferences = member(mac.at("preferences"), "global");
    return {member(preferences, "_HIHideMenuBar"),
            member(preferences, "AppleMenuBarVisibleInFullscreen"),
            mac.at("menuBar").at("autoHide")};
}

bool globalsAreInForce(const json& snapshot, const Moment& moment) {
    const auto stored = [&](const char* key) {
        const json value = member(snapshot, key);
        return value.is_null() ? value : json(value != 0);
    };
    const json hide = stored("hideMenuBar");
    const json wanted{hide, stored("visibleInFullscreen"), hide == true};
    return globals(moment.mac) == wanted ||
           (!moment.alsoRight.is_null() && globals(moment.mac) == globals(moment.alsoRight));
}

bool isSettledGlobally(const json& snapshot) {
    return member(snapshot, "globalRestored") == true || member(snapshot, "pendingOnly") == true;
}

bool overrideIsInForce(const json& record, const Moment& moment) {
    return anyDisplay(moment, [&](const json& display) {
        return display.at("menuBarOverride") == record.at("enabled");
    });
}

bool mayBeOfOneDisplay(const json& one, const json& other, const Moment& moment) {
    const auto isShared = [&](const char* key) {
        return !member(one, key).is_null() && member(one, key) == member(other, key);
    };
    return moment.namesMayFold || isShared("canonicalID") || isShared("hardwareID") ||
           isShared("portUUID");
}

/// Only one of several records for one display is in force.
bool overrideMayGo(const json& record, const json& all, const Moment& moment) {
    return overrideIsInForce(record, moment) ||
           std::any_of(all.begin(), all.end(), [&](const json& other) {
               return other != record && mayBeOfOneDisplay(record, other, moment) &&
                      overrideIsInForce(other, moment);
           });
}

}  // namespace

bool modesMayBecome(const json& before, const json& after, const Moment& moment) {
    const json entries = member(before, "entries");
    return std::all_of(entries.items().begin(), entries.items().end(), [&](const auto& entry) {
        const json& spec = entry.value();
        return member(member(after, "entries"), entry.key()) == spec || !isPossible(spec) ||
               anyDisplay(moment, [&](const json& display) { return shows(display, spec); });
    });
}

bool menuBarMayBecome(const json& before, const json& after, const Moment& moment) {
    const bool settles =
        !isSettledGlobally(before) && (after.is_null() || isSettledGlobally(after));
    if (settles && !globalsAreInForce(before, moment)) {
        return false;
    }
    const json records = member(before, "displayVisibilityOverrides");
    if (!after.is_null()) {
        return records == member(after, "displayVisibilityOverrides") &&
               member(before, "hideMenuBar") == member(after, "hideMenuBar") &&
               member(before, "visibleInFullscreen") == member(after, "visibleInFullscreen");
    }
    return std::all_of(records.begin(), records.end(),
                       [&](const json& record) { return overrideMayGo(record, records, moment); });
}

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
    return after.is_null() && (!formats::isDockMarker(before) ||
                               moment.mac.at("dock").at("autoHide") == before.at("restoreTo"));
}

bool holdMayBecome(const json& /*before*/, const json& after, const Moment& moment) {
    return after.is_null() &&
           std::any_of(moment.posted.begin(), moment.posted.end(), [](const json& notification) {
               return notification.at("name") == "com.apple.screensaver.action" &&
                      notification.at("userInfo") == json{{"action", 3}};
           });
}

/// A mark may go once the layout is not one that only the main application makes.
bool marksMayBecome(const json& /*before*/, const json& /*after*/, const Moment& moment) {
    std::vector<DisplayFrame> frames;
    for (const json& display : moment.mac.at("displays")) {
        const json& frame = display.at("frame");
        frames.push_back({.displayID = display.at("id"),
                          .frame = CGRectMake(frame[0], frame[1], frame[2], frame[3])});
    }
    const auto log = std::exchange(RestoreLog::info, [](const std::string&) {});
    const bool isZigzag = Zigzag::isZigzag(frames);
    RestoreLog::info = log;
    return !isZigzag;
}

}  // namespace tolvaran::tests::in_force
