#include "tests/faults/records.hpp"

#include <algorithm>
#include <cmath>

#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// The element of an object; null when it is missing or there is no object.
json member(const json& object, const std::string& key) {
    return object.is_object() && object.contains(key) ? object.at(key) : json();
}

bool shows(const json& display, const json& spec) {
    const json modes = display.at("modes");
    return std::any_of(modes.begin(), modes.end(), [&](const json& mode) {
        return mode.at("number") == display.at("mode") && mode.at("width") == spec.at("width") &&
               mode.at("height") == spec.at("height") &&
               (mode.at("density") > 1.5) == spec.at("scaled") &&
               (spec.at("hz") == 0 || std::round(mode.at("hz").get<double>()) == spec.at("hz"));
    });
}

template <typename Accepts>
bool anyDisplay(const FaultRun& run, Accepts accepts) {
    const json& displays = run.after.mac.at("displays");
    return std::any_of(displays.begin(), displays.end(), accepts);
}

// One function for each kind of record: whether what stood in it before is still to be found in
// what stands in its place now, or else in force. `now` is null when there is no file any more.

bool modesAreKept(const json& before, const json& now, const FaultRun& run,
                  const FaultRun& /*calm*/) {
    const json entries = member(before, "entries");
    for (const auto& [key, spec] : entries.items()) {
        const bool stays = member(member(now, "entries"), key) == spec;
        if (!stays && !anyDisplay(run, [&](const json& display) { return shows(display, spec); })) {
            return false;
        }
    }
    return true;
}

bool overrideIsInForce(const json& record, const FaultRun& run) {
    return anyDisplay(run, [&](const json& display) {
        return display.at("menuBarOverride") == record.at("enabled");
    });
}

json globals(const FaultRun& run) {
    return {member(member(run.after.mac.at("preferences"), "global"), "_HIHideMenuBar"),
            run.after.mac.at("menuBar").at("autoHide")};
}

/// Or are what the user has made of them later.
bool globalsAreInForce(const json& snapshot, const FaultRun& run, const FaultRun& calm) {
    const json hide = member(snapshot, "hideMenuBar");
    const bool hidden = !hide.is_null() && hide != 0;
    const json wanted{hide.is_null() ? json() : json(hidden), hidden};
    return globals(run) == wanted || globals(run) == globals(calm);
}

bool isSettledGlobally(const json& snapshot) {
    return member(snapshot, "globalRestored") == true || member(snapshot, "pendingOnly") == true;
}

bool menuBarIsKept(const json& before, const json& now, const FaultRun& run, const FaultRun& calm) {
    const json records = member(before, "displayVisibilityOverrides");
    const bool wasSettled = isSettledGlobally(before);
    if (now.is_null()) {
        return (wasSettled || globalsAreInForce(before, run, calm)) &&
               std::all_of(records.begin(), records.end(),
                           [&](const json& record) { return overrideIsInForce(record, run); });
    }
    return records == member(now, "displayVisibilityOverrides") &&
           member(before, "hideMenuBar") == member(now, "hideMenuBar") &&
           (wasSettled || !isSettledGlobally(now) || globalsAreInForce(before, run, calm));
}

bool cornersAreKept(const json& before, const json& now, const FaultRun& run,
                    const FaultRun& /*calm*/) {
    const json live = member(before, "liveActions");
    // A later snapshot may have taken its place, once it was in force.
    const json& dock = run.after.mac.at("dock");
    const json stored = member(run.after.mac.at("preferences"), "com.apple.dock");
    for (const std::string corner : {"tl", "tr", "bl", "br"}) {
        const json wanted = member(before, corner + "Corner");
        if (wanted != member(stored, "wvous-" + corner + "-corner") &&
            wanted != member(now, corner + "Corner")) {
            return false;
        }
    }
    return !now.is_null() || live.is_null() || live == dock.at("cornerActions");
}

/// A marker that cannot be read is discarded, so that it never blocks later restores.
bool dockIsKept(const json& before, const json& now, const FaultRun& run,
                const FaultRun& /*calm*/) {
    const json wanted = member(before, "restoreTo");
    const bool isValid = wanted.is_boolean() && member(before, "version") == 1;
    return now.is_null() && (!isValid || run.after.mac.at("dock").at("autoHide") == wanted);
}

bool holdIsKept(const json& /*before*/, const json& now, const FaultRun& run,
                const FaultRun& /*calm*/) {
    return now.is_null() &&
           std::any_of(run.posted.begin(), run.posted.end(), [](const json& notification) {
               return notification.at("name") == "com.apple.screensaver.action" &&
                      notification.at("userInfo") == json{{"action", 3}};
           });
}

/// A mark may go once the displays stand as the user has them.
bool marksAreKept(const json& /*before*/, const json& /*now*/, const FaultRun& run,
                  const FaultRun& /*calm*/) {
    std::vector<DisplayFrame> frames;
    for (const json& display : run.after.mac.at("displays")) {
        const json& frame = display.at("frame");
        frames.push_back({.displayID = display.at("id"),
                          .frame = CGRectMake(frame[0], frame[1], frame[2], frame[3])});
    }
    return !Zigzag::isZigzag(frames);
}

using IsKept = bool (*)(const json& before, const json& now, const FaultRun& run,
                        const FaultRun& calm);

/// Files that are not here are nobody's to change.
const std::map<std::string, IsKept>& kinds() {
    static const std::map<std::string, IsKept> table{
        {"State/.resolution-originals", modesAreKept},
        {"State/dock-autohide-pending.json", dockIsKept},
        {"State/hot-corner-screen-saver-hold", holdIsKept},
        {"State/hot-corners-snapshot.json", cornersAreKept},
        {"State/menubar-state.json", menuBarIsKept},
        {"State/native-mirrored-sets.json", marksAreKept},
        {"State/separated-sets.json", marksAreKept},
        {"State/side-pinned-sets.json", marksAreKept},
    };
    return table;
}

}  // namespace

std::vector<std::string> lostRecords(const FaultRun& calm, const FaultRun& hit) {
    std::vector<std::string> lost;
    for (const auto& [path, before] : hit.filesBefore.items()) {
        const json now = member(hit.after.files, path);
        if (path == "State/.helper-heartbeat" || now == before ||
            now == member(calm.after.files, path)) {
            continue;
        }
        const auto kind = kinds().find(path);
        if (kind == kinds().end() || !kind->second(before, now, hit, calm)) {
            lost.push_back("record/" + path);
        }
    }
    return lost;
}

}  // namespace tolvaran::tests
