// The active displays and the names under which records know them: how the readers of saved
// arrangements and modes begin. Used by the arrangement invariant and by the resolution restore.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "restore/arrangement/alias_map.hpp"

namespace tolvaran {

/// The active displays in the window server's order, at most `limit` of them; those beyond are not
/// seen. Empty when the call fails.
std::vector<CGDirectDisplayID> activeDisplays(std::uint32_t limit);

/// The canonical ID of each display, in the same order: its display UUID, folded through the main
/// application's aliases.
/// @param uuids what displayUUIDs() returned for all active displays
std::vector<std::string> canonicalIDs(const std::vector<std::string>& uuids,
                                      const AliasMap& aliases);

/// The display under each canonical ID; of several with the same ID the last one.
/// @param ids what canonicalIDs() returned for `displays`
std::map<std::string, CGDirectDisplayID> displaysByCanonicalID(
    const std::vector<CGDirectDisplayID>& displays, const std::vector<std::string>& ids);

}  // namespace tolvaran
