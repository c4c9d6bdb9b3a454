// What a saved arrangement of more displays says about the displays that are left. A display may be
// unplugged while the main application has rearranged the rest: then nothing is saved for the
// smaller set, but usually for the larger one. Used by the arrangement invariant.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "restore/arrangement/originals_store.hpp"

namespace tolvaran::OriginalsProjection {

/// The displays that an arrangement names, each once.
std::set<std::string> uuids(const std::vector<OriginalsEntry>& arrangement);

/// From each arrangement that covers all active displays and at least one more: the entries of the
/// active displays, in stored order and at their saved places (gaps that other displays leave stay
/// open). The arrangement of the fewest displays comes first; of equally many, the one with the
/// lesser signature. Empty if no display is active or no arrangement qualifies. Logs nothing.
/// @param arrangements the saved arrangements by signature
/// @param activeUUIDs  the canonical IDs of the active displays
std::vector<std::vector<OriginalsEntry>> projectedSupersetArrangements(
    const std::map<std::string, std::vector<OriginalsEntry>>& arrangements,
    const std::set<std::string>& activeUUIDs);

}  // namespace tolvaran::OriginalsProjection
