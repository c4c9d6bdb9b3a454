#include "restore/arrangement/originals_projection.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace tolvaran::OriginalsProjection {
namespace {

using Arrangement = std::vector<OriginalsEntry>;

bool isStrictSuperset(const std::set<std::string>& all, const std::set<std::string>& part) {
    return part.size() < all.size() &&
           std::includes(all.begin(), all.end(), part.begin(), part.end());
}

Arrangement entriesOf(const std::set<std::string>& activeUUIDs, const Arrangement& arrangement) {
    Arrangement result;
    std::copy_if(arrangement.begin(), arrangement.end(), std::back_inserter(result),
                 [&](const OriginalsEntry& entry) { return activeUUIDs.contains(entry.uuid); });
    return result;
}

}  // namespace

std::set<std::string> uuids(const Arrangement& arrangement) {
    std::set<std::string> result;
    for (const OriginalsEntry& entry : arrangement) {
        result.insert(entry.uuid);
    }
    return result;
}

std::vector<Arrangement> projectedSupersetArrangements(
    const std::map<std::string, Arrangement>& arrangements,
    const std::set<std::string>& activeUUIDs) {
    if (activeUUIDs.empty()) {
        return {};
    }
    // Keyed by the order in which to try them: size, then signature.
    std::map<std::pair<std::size_t, std::string>, Arrangement> projections;
    for (const auto& [signature, arrangement] : arrangements) {
        if (arrangement.size() <= activeUUIDs.size()) {
            continue;  // too few displays, even if all differ
        }
        const std::set<std::string> all = uuids(arrangement);
        if (isStrictSuperset(all, activeUUIDs)) {
            projections.emplace(std::pair(all.size(), signature),
                                entriesOf(activeUUIDs, arrangement));
        }
    }
    std::vector<Arrangement> result;
    for (auto& [order, projection] : projections) {
        result.push_back(std::move(projection));
    }
    return result;
}

}  // namespace tolvaran::OriginalsProjection
