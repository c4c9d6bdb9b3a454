// Finds the connected display to which each saved menu bar record belongs. A display may have
// changed its port or its identity since the record was taken, and twins may have appeared, so
// records and displays are matched by what they agree on, best agreement first.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <optional>
#include <string>
#include <vector>

#include "restore/menubar/menu_bar_snapshot.hpp"

namespace tolvaran {

/// One connected display as the matcher sees it.
struct MenuBarRestoreCandidate {
    CGDirectDisplayID displayID = 0;
    std::string aliasID;      // its display UUID
    std::string canonicalID;  // the display UUID folded through the alias map
    /// "HW-" and its hardware fingerprint, if it has one. Unlike the display UUID it does not turn
    /// into the port UUID when an identical monitor is plugged in.
    std::optional<std::string> fingerprintID = {};
    std::string portUUID;

    bool operator==(const MenuBarRestoreCandidate&) const = default;
};

/// What one saved record resolves to.
class MenuBarRestoreTarget {
  public:
    /// The record belongs to this display.
    static MenuBarRestoreTarget matched(CGDirectDisplayID displayID) {
        return {Kind::matched, displayID};
    }
    /// Its display is not connected.
    static MenuBarRestoreTarget displayAbsent() { return {Kind::displayAbsent, 0}; }
    /// Its display is connected, but belongs to another record, which fits it better, or equally
    /// well and comes later in the list.
    static MenuBarRestoreTarget superseded() { return {Kind::superseded, 0}; }
    /// Several displays fit it equally well.
    static MenuBarRestoreTarget ambiguous() { return {Kind::ambiguous, 0}; }

    /// The display, for matched(); none for the others.
    std::optional<CGDirectDisplayID> matchedDisplay() const {
        return kind_ == Kind::matched ? std::optional(displayID_) : std::nullopt;
    }

    bool operator==(const MenuBarRestoreTarget&) const = default;

  private:
    enum class Kind { matched, displayAbsent, superseded, ambiguous };

    MenuBarRestoreTarget(Kind kind, CGDirectDisplayID displayID)
        : kind_(kind), displayID_(displayID) {}

    Kind kind_;
    CGDirectDisplayID displayID_;  // 0 unless matched, so that equal kinds compare equal
};

/// The target of each record, in record order. No display is the target of two records; of several
/// records that fit one display equally well, the last one gets it.
/// @param candidates the connected displays, each display ID once
std::vector<MenuBarRestoreTarget> resolveMenuBarRecords(
    const std::vector<MenuBarDisplayVisibilityOverride>& records,
    const std::vector<MenuBarRestoreCandidate>& candidates);

}  // namespace tolvaran
