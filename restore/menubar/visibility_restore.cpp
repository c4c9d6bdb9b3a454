#include <algorithm>
#include <set>

#include "restore/arrangement/named_displays.hpp"
#include "restore/menubar/global_preferences.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/menu_bar_candidates.hpp"
#include "restore/menubar/menu_bar_matcher.hpp"
#include "restore/support/sleep.hpp"

namespace tolvaran::MenuBarAutohide {
namespace {

using Records = std::vector<MenuBarDisplayVisibilityOverride>;
using Candidates = std::vector<MenuBarRestoreCandidate>;

constexpr int maximumReads = 8;
constexpr double secondsBetweenReads = 0.025;

/// All connected displays; none if they cannot be listed. Unlike elsewhere, a failure must not look
/// like a Mac without displays: every record's display would seem unplugged, and the run a success.
std::optional<std::vector<CGDirectDisplayID>> connectedDisplays() {
    std::uint32_t count = 0;
    if (CGGetActiveDisplayList(0, nullptr, &count) != kCGErrorSuccess) {
        return std::nullopt;
    }
    std::vector<CGDirectDisplayID> displays(count);
    if (CGGetActiveDisplayList(count, displays.data(), &count) != kCGErrorSuccess) {
        return std::nullopt;
    }
    // Displays may have come or gone between the two calls.
    displays.resize(std::min<std::size_t>(count, displays.size()));
    return displays;
}

std::optional<Candidates> connectedCandidates() {
    const auto displays = connectedDisplays();
    if (!displays) {
        return std::nullopt;
    }
    return menuBarCandidates(namedDisplays(*displays, AliasLoading::beforeNaming));
}

/// Whether the override soon reads as `enabled`. The window server accepts an override at once and
/// applies it later, so the first reads may still show the old one.
bool takesEffect(bool enabled, CGDirectDisplayID displayID) {
    for (int read = 0; read < maximumReads; ++read) {
        if (read > 0) {
            sleepFor(secondsBetweenReads);
        }
        if (visibilityOverride(displayID) == enabled) {
            return true;
        }
    }
    return false;
}

/// Sets the override; whether that took effect.
bool putBack(bool enabled, CGDirectDisplayID displayID) {
    return setVisibilityOverride(enabled, displayID) && takesEffect(enabled, displayID);
}

/// Puts the record back if its target allows it, and adds it to the outcome if not.
void settle(const MenuBarDisplayVisibilityOverride& record, const MenuBarRestoreTarget& target,
            MenuBarRestoreOutcome& outcome) {
    if (target == MenuBarRestoreTarget::superseded()) {
        return;  // another record owns the display
    }
    const auto displayID = target.matchedDisplay();
    if (displayID && putBack(record.enabled, *displayID)) {
        return;
    }
    outcome.unsettled.push_back(record);
    outcome.onlyAbsent = outcome.onlyAbsent && target == MenuBarRestoreTarget::displayAbsent();
}

}  // namespace

MenuBarRestoreOutcome restoreDetailed(const MenuBarAutohideSnapshot& snapshot) {
    // The user may have changed since what an earlier attempt put back.
    const bool globalRestored = snapshot.hasRestoredGlobal() || applyGlobal(snapshot);
    const Records records = snapshot.displayVisibilityOverrides.value_or(Records());
    MenuBarRestoreOutcome outcome{.globalRestored = globalRestored, .onlyAbsent = true};
    if (records.empty()) {
        return outcome;
    }
    const auto candidates = supportsPerDisplayVisibility() ? connectedCandidates() : std::nullopt;
    if (!candidates) {
        return {.globalRestored = globalRestored, .unsettled = records, .onlyAbsent = false};
    }
    const auto targets = resolveMenuBarRecords(records, *candidates);
    for (std::size_t index = 0; index < records.size(); ++index) {
        settle(records[index], targets[index], outcome);
    }
    return outcome;
}

bool restore(const MenuBarAutohideSnapshot& snapshot) {
    const MenuBarRestoreOutcome outcome = restoreDetailed(snapshot);
    return outcome.succeeded() && outcome.unsettled.empty();
}

std::vector<MenuBarDisplayIdentity> displaysWithoutBaseline(
    const std::vector<MenuBarDisplayIdentity>& displays,
    const std::vector<MenuBarDisplayVisibilityOverride>& records) {
    if (records.empty()) {
        return displays;
    }
    Candidates candidates;
    for (const MenuBarDisplayIdentity& display : displays) {
        candidates.push_back({.displayID = display.displayID,
                              .aliasID = display.hardwareID,
                              .canonicalID = display.canonicalID,
                              .fingerprintID = displayFingerprintID(display.displayID),
                              .portUUID = display.portUUID});
    }
    std::set<CGDirectDisplayID> known;
    for (const MenuBarRestoreTarget& target : resolveMenuBarRecords(records, candidates)) {
        if (const auto displayID = target.matchedDisplay()) {
            known.insert(*displayID);
        }
    }
    std::vector<MenuBarDisplayIdentity> result;
    std::copy_if(displays.begin(), displays.end(), std::back_inserter(result),
                 [&](const auto& display) { return known.count(display.displayID) == 0; });
    return result;
}

}  // namespace tolvaran::MenuBarAutohide
