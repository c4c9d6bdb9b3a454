// What the menu bar was like before the main application changed it: the content of
// "menubar-state.json" and what follows from it alone. The main application takes the snapshot; the
// helper restores from it and keeps what is still pending. Nothing here logs or throws, except
// std::bad_alloc.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolvaran {

/// One display's visibility override as it was.
struct MenuBarDisplayVisibilityOverride {
    std::string canonicalID;
    /// The display's, or its canonical ID if it had none (see MenuBarDisplayIdentity); none only in
    /// records that other versions wrote.
    std::optional<std::string> hardwareID = {};
    std::string portUUID;
    bool enabled = false;

    bool operator==(const MenuBarDisplayVisibilityOverride&) const = default;
};

/// A display that is connected now.
struct MenuBarDisplayIdentity {
    /// @param hardwareID none for a display without one; the canonical ID then takes its place, so
    ///                   an identity always has a hardware ID
    MenuBarDisplayIdentity(CGDirectDisplayID displayID, std::string canonicalID,
                           const std::optional<std::string>& hardwareID, std::string portUUID);

    CGDirectDisplayID displayID;
    std::string canonicalID;
    std::string hardwareID;
    std::string portUUID;

    bool operator==(const MenuBarDisplayIdentity&) const = default;
};

/// The result of an attempt to restore.
struct MenuBarRestoreOutcome {
    bool globalRestored = false;  // the two global preferences are back, now or from earlier
    std::vector<MenuBarDisplayVisibilityOverride> unsettled = {};  // records that were not put back
    bool onlyAbsent = false;  // no unsettled record's display is connected

    bool operator==(const MenuBarRestoreOutcome&) const = default;

    /// Whether nothing went wrong. Records that only wait for their displays are not a failure.
    bool succeeded() const { return globalRestored && onlyAbsent; }
};

/// The content of the snapshot file. Every field may be absent, in memory as in the file.
struct MenuBarAutohideSnapshot {
    std::optional<std::int64_t> hideMenuBar = {};          // "_HIHideMenuBar"; absent: not set
    std::optional<std::int64_t> visibleInFullscreen = {};  // "AppleMenuBarVisibleInFullscreen"
    std::optional<std::vector<MenuBarDisplayVisibilityOverride>> displayVisibilityOverrides = {};
    std::optional<bool> globalRestored = {};  // true: the two preferences above are back already
    std::optional<bool> pendingOnly = {};     // true: and only absent displays are still pending

    bool operator==(const MenuBarAutohideSnapshot&) const = default;

    /// Whether only records of absent displays are left to restore.
    bool isPendingOnly() const { return pendingOnly == true; }

    /// Whether the global preferences were put back by an earlier attempt.
    bool hasRestoredGlobal() const { return globalRestored == true || isPendingOnly(); }

    /// This snapshot with the two global preferences of `other`.
    MenuBarAutohideSnapshot replacingGlobalPreference(const MenuBarAutohideSnapshot& other) const;

    /// This snapshot with the two global preferences of `other` and both flags absent: the main
    /// application takes control again, so the global preferences must be put back again after it.
    MenuBarAutohideSnapshot reopeningLease(const MenuBarAutohideSnapshot& other) const;

    /// Whether the user wants to see the menu bar, on the desktop or in a full-screen space.
    bool wantsMenuBarVisible(bool isFullscreen) const;

    /// What to keep after an attempt to restore this snapshot; none if nothing is left to do. While
    /// any record is unsettled, all of them are kept, so the next attempt puts the settled ones
    /// back again.
    std::optional<MenuBarAutohideSnapshot> settled(const MenuBarRestoreOutcome& outcome) const;
};

}  // namespace tolvaran
