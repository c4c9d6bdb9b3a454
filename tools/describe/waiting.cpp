#include "tools/describe/waiting.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "helper/steps/steps.hpp"
#include "report/log_reading.hpp"
#include "restore/arrangement/named_displays.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/dock/hot_corner_control.hpp"
#include "restore/dock/hot_corner_snapshot_file.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "restore/menubar/global_preferences.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/menu_bar_candidates.hpp"
#include "restore/menubar/menu_bar_matcher.hpp"
#include "restore/modes/display_mode_control.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/paths/restore_log.hpp"
#include "tools/describe/arrangement_plan.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;
using simulator::report::FactGroup;

/// The Mac with a value for every key that the report's words need.
json completed(json mac) {
    const json empty = {{"displays", json::array()},
                        {"registry", json::array()},
                        {"preferences", json::object()},
                        {"cursorAssociated", true},
                        {"dock", {{"autoHide", false}}},
                        {"menuBar", {{"autoHide", false}, {"activeDisplay", nullptr}}}};
    const json display = {{"modes", json::array()},
                          {"mode", nullptr},
                          {"menuBarOverride", true},
                          {"spaceType", 0},
                          {"portUUID", nullptr}};
    const json corners = {{"cornerActions", {1, 1, 1, 1}}, {"cornerModifiers", {0, 0, 0, 0}}};
    const auto complete = [](json& object, const json& defaults) {
        json whole = defaults;
        whole.update(object, true);
        object = whole;
    };
    complete(mac, empty);
    complete(mac["dock"], corners);
    for (json& each : mac["displays"]) {
        complete(each, display);
    }
    return mac;
}

/// Evaluates one record: what the Mac would be like, and what prevents that.
class Outlook {
  public:
    Outlook(const json& mac, const Hardware& hardware, std::vector<std::string> failures)
        : mac_(mac), after_(mac), hardware_(hardware), failures_(std::move(failures)) {}

    const Hardware& hardware() const { return hardware_; }
    /// The Mac as it would be afterwards.
    json& after() { return after_; }
    json* display(CGDirectDisplayID id) {
        for (json& each : after_["displays"]) {
            if (each["id"] == id) {
                return &each;
            }
        }
        return nullptr;
    }
    /// Adds something that cannot be read from this Mac now.
    void add(FactGroup group) { others_.push_back(std::move(group)); }
    void keep(const std::string& reason) { reasons_.push_back(reason); }

    WaitingRecord result(const std::string& title, const std::string& file) {
        WaitingRecord record{.title = title, .file = file, .changes = {}, .reasons = reasons_};
        using namespace simulator::report;
        addChanged(displayFacts(mac_, after_), record.changes);
        addChanged(deskFacts(mac_, after_), record.changes);
        std::ranges::copy(others_, std::back_inserter(record.changes));
        for (const std::string& failure : failures_) {
            record.reasons.push_back("the last run says: " + failure);
        }
        if (record.changes.empty() && record.reasons.empty()) {
            record.reasons.emplace_back(
                "everything is as recorded; only the record is left to remove");
        }
        return record;
    }

  private:
    static void addChanged(std::vector<FactGroup> groups, std::vector<FactGroup>& changes) {
        for (FactGroup& group : groups) {
            std::erase_if(group.facts, [](const auto& fact) { return !fact.isChanged(); });
            if (!group.facts.empty()) {
                changes.push_back(std::move(group));
            }
        }
    }

    const json& mac_;
    json after_;
    const Hardware& hardware_;
    std::vector<std::string> failures_;
    std::vector<FactGroup> others_;
    std::vector<std::string> reasons_;
};

FactGroup absentDisplay(const std::string& id, const std::string& fact, const std::string& value) {
    return {id + ", not connected", {{fact, "", value}}};
}

// Each of these returns whether a record waits, and fills in the outlook.

bool lookAtArrangement(Outlook& outlook) {
    const ArrangementPlan plan = planArrangement(outlook.hardware());
    for (const HardwarePosition& position : plan.positions) {
        if (json* const display = outlook.display(position.displayID)) {
            (*display)["frame"][0] = position.origin.x;
            (*display)["frame"][1] = position.origin.y;
        }
    }
    if (plan.isInForce) {
        outlook.keep("the displays stand as saved; only a mark of theirs is left to remove");
    } else if (plan.isNeeded && plan.positions.empty()) {
        outlook.keep("no saved arrangement fits the displays that are connected");
    } else if (!plan.isNeeded && plan.isMarked) {
        outlook.keep("the displays are in order; only their mark is left to remove");
    }
    return plan.isNeeded || plan.isMarked;
}

void lookAtMode(const std::string& id, const DisplayModeSpec& spec, Outlook& outlook) {
    const auto display = outlook.hardware().displayIDByCanonicalID.find(id);
    if (display == outlook.hardware().displayIDByCanonicalID.end()) {
        outlook.add(absentDisplay(id, "Mode", spec.logDescription()));
        outlook.keep(id + " is not connected");
        return;
    }
    const auto current = DisplayModeControl::currentMode(display->second);
    const auto mode =
        DisplayModeControl::exactMatch(spec, DisplayModeControl::modes(display->second));
    if (current && current->spec() == spec) {
        return;
    }
    if (json* const shown = outlook.display(display->second); shown != nullptr && mode) {
        (*shown)["mode"] = mode->modeNum;
    } else {
        outlook.keep(id + " has no mode " + spec.logDescription() + " now");
    }
}

bool lookAtModes(Outlook& outlook) {
    const auto entries =
        ResolutionOriginalsStore::pendingEntries(ResolutionOriginalsStore::defaultPath());
    for (const auto& [id, spec] : entries) {
        lookAtMode(id, spec, outlook);
    }
    return !entries.empty();
}

void setPreference(json& mac, const std::string& domain, const std::string& key,
                   const std::optional<json>& value) {
    json& values = mac["preferences"][domain];
    if (value) {
        values[key] = *value;
    } else if (values.is_object()) {
        values.erase(key);
    }
}

void lookAtGlobalMenuBar(const MenuBarAutohideSnapshot& snapshot, Outlook& outlook) {
    const auto flag = [](const std::optional<std::int64_t>& value) {
        return value ? std::optional<json>(*value != 0) : std::nullopt;
    };
    json& after = outlook.after();
    after["menuBar"]["autoHide"] = snapshot.hideMenuBar.value_or(0) != 0;
    setPreference(after, "global", MenuBarAutohide::hideKey, flag(snapshot.hideMenuBar));
    setPreference(after, "global", MenuBarAutohide::visibleInFullscreenKey,
                  flag(snapshot.visibleInFullscreen));
}

void lookAtOverride(const MenuBarDisplayVisibilityOverride& record,
                    const MenuBarRestoreTarget& target, Outlook& outlook) {
    if (const auto display = target.matchedDisplay()) {
        if (json* const shown = outlook.display(*display)) {
            (*shown)["menuBarOverride"] = record.enabled;
        }
    } else if (target == MenuBarRestoreTarget::displayAbsent()) {
        outlook.add(
            absentDisplay(record.canonicalID, "Menu bar", record.enabled ? "shown" : "hidden"));
        outlook.keep(record.canonicalID + " is not connected");
    } else if (target == MenuBarRestoreTarget::ambiguous()) {
        outlook.keep("several displays may be " + record.canonicalID);
    }
}

bool lookAtMenuBar(Outlook& outlook) {
    const auto snapshot = MenuBarAutohide::loadSnapshot(MenuBarAutohide::defaultSnapshotPath());
    if (!snapshot) {
        return false;
    }
    if (!snapshot->hasRestoredGlobal()) {
        lookAtGlobalMenuBar(*snapshot, outlook);
    }
    const auto records = snapshot->displayVisibilityOverrides.value_or(
        std::vector<MenuBarDisplayVisibilityOverride>());
    if (!records.empty() && !MenuBarAutohide::supportsPerDisplayVisibility()) {
        outlook.keep("this macOS lacks functions for the menu bar of single displays");
        return true;
    }
    const auto displays = namedDisplays(activeDisplays(), AliasLoading::beforeNaming);
    const auto targets = resolveMenuBarRecords(records, menuBarCandidates(displays));
    for (std::size_t i = 0; i < records.size(); ++i) {
        lookAtOverride(records[i], targets[i], outlook);
    }
    return true;
}

bool lookAtHotCorners(Outlook& outlook) {
    const std::string path = DockHotCornerOverride::defaultSnapshotPath();
    const auto snapshot = DockHotCornerOverride::loadSnapshot(path);
    if (!snapshot) {
        return false;
    }
    json& after = outlook.after();
    for (const HotCornerField& field : hotCornerFields) {
        const std::optional<std::int64_t>& value = (*snapshot).*field.member;
        setPreference(after, DockHotCornerOverride::dockAppID, field.preference,
                      value ? std::optional<json>(*value) : std::nullopt);
    }
    if (!DockHotCornerOverride::nativeAPIAvailable()) {
        outlook.keep("this macOS lacks functions for the running Dock's hot corners");
        return true;
    }
    after["dock"]["cornerActions"] = snapshot->effectiveActions();
    after["dock"]["cornerModifiers"] = snapshot->effectiveModifiers();
    return true;
}

bool lookAtScreenSaver(Outlook& outlook) {
    if (!ScreenSaverHotCornerHold::isPending(ScreenSaverHotCornerHold::defaultMarkerPath())) {
        return false;
    }
    outlook.add({"Hot corners", {{"The screen saver’s own", "held back", "in force"}}});
    return true;
}

bool lookAtDock(Outlook& outlook) {
    const std::string path = DockAutoHideOverride::defaultSnapshotPath();
    if (!DockAutoHideOverride::isPending(path)) {
        return false;
    }
    if (const auto value = DockAutoHideOverride::pendingRestoreValue(path)) {
        outlook.after()["dock"]["autoHide"] = *value;
    } else {
        outlook.keep("the record cannot be read; the next run removes it");
    }
    return true;
}

struct Record {
    const char* title;
    const char* file;
    bool (*look)(Outlook& outlook);
    /// Its step, and how the library's log lines about it begin.
    std::vector<std::string_view> lines;
};

/// In the order in which a run puts them back. The first one also has the library's other lines.
const std::vector<Record>& records() {
    static const std::vector<Record> all = {
        {"Arrangement",
         "State/.display-originals",
         lookAtArrangement,
         {step_names::checkInvariant}},
        {"Display modes",
         "State/.resolution-originals",
         lookAtModes,
         {step_names::restoreResolutions, "resolution restore", "resolution originals",
          "Failed to encode resolution", "Failed to write resolution"}},
        {"Menu bar",
         "State/menubar-state.json",
         lookAtMenuBar,
         {step_names::restoreMenuBar, "menu bar snapshot", "Per-display menu bar",
          "CFPreferencesSynchronize", "CGSSetMenuBar", "SLS", "Failed to write menu bar"}},
        {"Screen saver", "State/hot-corner-screen-saver-hold", lookAtScreenSaver, {"screen-saver"}},
        {"Hot corners",
         "State/hot-corners-snapshot.json",
         lookAtHotCorners,
         {step_names::restoreHotCorners, "hot-corner"}},
        {"Dock", "State/dock-autohide-pending.json", lookAtDock, {step_names::restoreDockAutoHide}},
    };
    return all;
}

/// The record that a failure is about; null for the failure of a step without a record.
const Record* recordOf(const std::string& failure) {
    const auto step = simulator::report::readStepLine(failure);
    const auto isOfFailure = [&](std::string_view line) {
        return step ? simulator::report::steps[step->step].name == line : failure.starts_with(line);
    };
    for (const Record& record : records()) {
        if (std::ranges::any_of(record.lines, isOfFailure)) {
            return &record;
        }
    }
    return step ? nullptr : &records().front();
}

std::vector<std::string> failuresOf(const Record& record, const LastRun& last) {
    std::vector<std::string> failures;
    std::ranges::copy_if(last.failures, std::back_inserter(failures),
                         [&](const std::string& failure) { return recordOf(failure) == &record; });
    return failures;
}

/// Collects the library's warnings, each once.
class Warnings {
  public:
    Warnings() {
        RestoreLog::warn = [this](const std::string& message) {
            if (std::ranges::find(texts_, message) == texts_.end()) {
                texts_.push_back(message);
            }
        };
    }
    ~Warnings() { RestoreLog::silence(); }
    Warnings(const Warnings&) = delete;
    Warnings& operator=(const Warnings&) = delete;

    std::vector<std::string> take() { return std::exchange(texts_, {}); }

  private:
    std::vector<std::string> texts_;
};

/// Those warnings that say that a record cannot be read.
std::vector<std::string> unreadable(std::vector<std::string> warnings) {
    std::erase_if(warnings, [](const std::string& warning) {
        return warning.find("unparseable") == std::string::npos &&
               warning.find("failed to decode") == std::string::npos;
    });
    return warnings;
}

}  // namespace

std::vector<WaitingRecord> waitingRecords(const json& mac, const LastRun& last) {
    std::vector<WaitingRecord> waiting;
    const json whole = completed(mac);
    const Hardware hardware = readHardware();
    Warnings warnings;
    for (const Record& record : records()) {
        Outlook outlook(whole, hardware, failuresOf(record, last));
        const bool waits = record.look(outlook);
        const std::vector<std::string> damage = unreadable(warnings.take());
        for (const std::string& warning : damage) {
            outlook.keep("a record cannot be read: " + warning);
        }
        if (waits || !damage.empty()) {
            waiting.push_back(outlook.result(record.title, record.file));
        }
    }
    return waiting;
}

}  // namespace tolvaran::describe
