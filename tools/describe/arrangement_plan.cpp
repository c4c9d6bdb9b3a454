#include "tools/describe/arrangement_plan.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>

#include "restore/arrangement/main_application_layout.hpp"
#include "restore/arrangement/named_displays.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::describe {
namespace {

using Arrangement = std::vector<OriginalsEntry>;
using Arrangements = std::map<std::string, Arrangement>;
using Positions = std::vector<HardwarePosition>;

bool isMarked(const std::string& signature) {
    const auto has = [&](const std::vector<std::string>& signatures) {
        return std::ranges::find(signatures, signature) != signatures.end();
    };
    const bool separated = has(SeparatedSetsStore::signatures(SeparatedSetsStore::defaultPath()));
    const bool pinned = has(SidePinnedSetsStore::signatures(SidePinnedSetsStore::defaultPath()));
    const bool mirrored =
        has(NativeMirroredSetsStore::signatures(NativeMirroredSetsStore::defaultPath()));
    return separated || pinned || mirrored;
}

Positions positionsOf(const Hardware& hardware, const Arrangement& arrangement) {
    Positions positions;
    for (const OriginalsEntry& entry : arrangement) {
        if (const auto display = hardware.displayIDByCanonicalID.find(entry.uuid);
            display != hardware.displayIDByCanonicalID.end()) {
            positions.push_back({display->second, CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

/// Whether the invariant would try them: a damaged record may ask for the impossible.
bool areUsable(const Positions& positions) {
    constexpr double reach = 1 << 30;
    std::vector<DisplayFrame> frames;
    for (const HardwarePosition& position : positions) {
        frames.push_back(
            {position.displayID, {position.origin, CGDisplayBounds(position.displayID).size}});
    }
    return !positions.empty() && positions.size() <= displayLimit &&
           std::ranges::all_of(positions,
                               [](const HardwarePosition& position) {
                                   return std::abs(position.origin.x) < reach &&
                                          std::abs(position.origin.y) < reach;
                               }) &&
           !Zigzag::isZigzag(frames);
}

/// The saved arrangements that may help, best first.
std::vector<Arrangement> candidates(const Hardware& hardware, const Arrangements& arrangements) {
    std::set<std::string> active;
    for (const auto& [id, display] : hardware.displayIDByCanonicalID) {
        active.insert(id);
    }
    std::vector<Arrangement> all;
    if (const auto exact = arrangements.find(hardware.signature); exact != arrangements.end()) {
        all.push_back(exact->second);
    }
    std::vector<Arrangement> subsets;
    for (const auto& [signature, arrangement] : arrangements) {
        const std::set<std::string> named = OriginalsProjection::uuids(arrangement);
        if (signature != hardware.signature && std::ranges::includes(active, named)) {
            subsets.push_back(arrangement);
        }
    }
    std::ranges::stable_sort(subsets, std::ranges::greater(), [](const Arrangement& subset) {
        return OriginalsProjection::uuids(subset).size();
    });
    std::ranges::copy(subsets, std::back_inserter(all));
    if (Zigzag::isFullZigzag(currentFrames(hardware.displays))) {
        std::ranges::copy(OriginalsProjection::projectedSupersetArrangements(arrangements, active),
                          std::back_inserter(all));
    }
    return all;
}

/// Whether the displays are already there, which makes all but the exact arrangement useless.
bool areInForce(const Positions& positions) {
    return std::ranges::all_of(positions, [](const HardwarePosition& position) {
        return CGPointEqualToPoint(CGDisplayBounds(position.displayID).origin, position.origin);
    });
}

Positions bestPositions(const Hardware& hardware, const Arrangements& arrangements) {
    for (const Arrangement& arrangement : candidates(hardware, arrangements)) {
        const Positions positions =
            DisplayApply::anchoredPositions(positionsOf(hardware, arrangement), CGMainDisplayID());
        if (areUsable(positions) && !areInForce(positions)) {
            return positions;
        }
    }
    const std::vector<DisplayFrame> frames = currentFrames(hardware.displays);
    return Zigzag::isFullZigzag(frames)
               ? DisplayApply::stackedFallbackPositions(frames, CGMainDisplayID())
               : Positions{};
}

}  // namespace

ArrangementPlan planArrangement(const Hardware& hardware) {
    const OriginalsFile originals = OriginalsStore::load(OriginalsStore::defaultPath());
    ArrangementPlan plan{.isNeeded = MainApplicationLayout::look(hardware).isMainApplications,
                         .hasRecord = !originals.arrangements.empty(),
                         .isMarked = isMarked(hardware.signature)};
    if (plan.isNeeded) {
        plan.positions = bestPositions(hardware, originals.arrangements);
    }
    return plan;
}

}  // namespace tolvaran::describe
