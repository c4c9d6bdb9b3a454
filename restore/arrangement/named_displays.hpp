// The displays and the names that records use for them. Everything that reads saved arrangements,
// modes or menu bar records begins here, and reads each display's hardware once. Internal to the
// library; display_identity.hpp is what programs may use. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvaran {

/// What a display's name begins with if it is made from its hardware fingerprint.
inline constexpr std::string_view fingerprintPrefix = "HW-";

/// The most displays that a restore sees: more than any Mac drives.
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

/// When the alias map is loaded, so whether that logs before or after naming does.
enum class AliasLoading { beforeNaming, afterNaming };

/// The displays with all their names, in the same order. The canonical IDs are folded through the
/// alias map in the default preferences. Logs what AliasMap::load() logs and, through
/// RestoreLog.warn, for each of several identical monitors, what displayUUID() logs.
/// @param displays all active displays, so that identical monitors are told apart
std::vector<NamedDisplay> namedDisplays(const std::vector<CGDirectDisplayID>& displays,
                                        AliasLoading loading);

/// The display under each canonical ID; the last one if several have the same ID.
std::map<std::string, CGDirectDisplayID> displaysByCanonicalID(
    const std::vector<NamedDisplay>& displays);

/// "HW-" and the fingerprint of the display's hardware; none for a display without one.
std::optional<std::string> displayFingerprintID(CGDirectDisplayID displayID);

}  // namespace tolvaran
