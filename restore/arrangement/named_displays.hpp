// The displays and the names that records use for them. Everything that reads saved arrangements,
// modes or menu bar records begins here, and reads each display's hardware once. Internal to the
// library; display_identity.hpp is what programs may use. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "restore/arrangement/alias_map.hpp"

namespace tolvaran {

/// How many displays a restore sees: more than any Mac drives.
inline constexpr std::uint32_t displayLimit = 16;

/// The active displays in the window server's order, at most `limit`. Empty if the call fails.
std::vector<CGDirectDisplayID> activeDisplays(std::uint32_t limit = displayLimit);

/// One display with all its names.
struct NamedDisplay {
    CGDirectDisplayID displayID = 0;
    /// "HW-" and its hardware fingerprint, if it has one. Unlike the display UUID it does not turn
    /// into the port UUID when an identical monitor is plugged in.
    std::optional<std::string> fingerprintID = {};
    std::string portUUID = {};
    std::string uuid = {};         // the display UUID
    std::string canonicalID = {};  // the display UUID folded through the alias map

    bool operator==(const NamedDisplay&) const = default;
};

/// Names the displays, in the same order. The canonical IDs are the display UUIDs until
/// foldAliases(). Logs through RestoreLog.warn, for each of several identical monitors, what
/// displayUUID() logs.
/// @param displays all active displays, so that identical monitors are told apart
std::vector<NamedDisplay> nameDisplays(const std::vector<CGDirectDisplayID>& displays);

/// Folds the display UUIDs into canonical IDs.
void foldAliases(std::vector<NamedDisplay>& displays, const AliasMap& aliases);

/// The display under each canonical ID; the last one if several have the same ID.
std::map<std::string, CGDirectDisplayID> displaysByCanonicalID(
    const std::vector<NamedDisplay>& displays);

/// "HW-" and the fingerprint of the display's hardware; none for a display without one.
std::optional<std::string> displayFingerprintID(CGDirectDisplayID displayID);

}  // namespace tolvaran
