#include "tools/describe/arrangement_plan.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>

#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::describe {
namespace {

using Arrangement = std::vector<OriginalsEntry>;
using Arrangements = std::map<std::string, Arrangement>;
using Positions = std::vector<HardwarePosition>;

std::map<std::string, CGPoint> originsOf(const PresentDisplays& present) {
    std::map<std::string, CGPoint> origins;
    for (const auto& [id, display] : present.byID) {
        origins[id] = CGDisplayBounds(display).origin;
    }
    return origins;
}

bool isMainAppLayout(const PresentDisplays& present) {
    const auto origins = originsOf(present);
    return Zigzag::isZigzag(present.frames) ||
           SidePinnedSetsStore::matchesCurrentHardware(present.signature, origins,
                                                       SidePinnedSetsStore::defaultPath()) ||
           NativeMirroredSetsStore::matchesCurrentHardware(present.signature, origins,
                                                           NativeMirroredSetsStore::defaultPath());
}

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

Positions positionsOf(const PresentDisplays& present, const Arrangement& arrangement) {
    Positions positions;
    for (const OriginalsEntry& entry : arrangement) {
        if (const auto display = present.byID.find(entry.uuid); display != present.byID.end()) {
            positions.push_back({display->second, CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

/// Whether the invariant would try them: a damaged record may ask for what no Mac can do.
bool areUsable(const Positions& positions) {
    constexpr std::size_t most = 16;
    constexpr double reach = 1 << 30;
    std::vector<DisplayFrame> frames;
    for (const HardwarePosition& position : positions) {
        frames.push_back(
            {position.displayID, {position.origin, CGDisplayBounds(position.displayID).size}});
    }
    return !positions.empty() && positions.size() <= most &&
           std::ranges::all_of(positions,
                               [](const HardwarePosition& position) {
                                   return std::abs(position.origin.x) < reach &&
                                          std::abs(position.origin.y) < reach;
                               }) &&
           !Zigzag::isZigzag(frames);
}

/// The saved arrangements that may help, the best first.
std::vector<Arrangement> candidates(const PresentDisplays& present,
                                    const Arrangements& arrangements) {
    std::set<std::string> active;
    for (const auto& [id, display] : present.byID) {
        active.insert(id);
    }
    std::vector<Arrangement> all;
    if (const auto exact = arrangements.find(present.signature); exact != arrangements.end()) {
        all.push_back(exact->second);
    }
    std::vector<Arrangement> subsets;
    for (const auto& [signature, arrangement] : arrangements) {
        const std::set<std::string> named = OriginalsProjection::uuids(arrangement);
        if (signature != present.signature && std::ranges::includes(active, named)) {
            subsets.push_back(arrangement);
        }
    }
    std::ranges::stable_sort(subsets, std::ranges::greater(), [](const Arrangement& subset) {
        return OriginalsProjection::uuids(subset).size();
    });
    std::ranges::copy(subsets, std::back_inserter(all));
    if (Zigzag::isFullZigzag(present.frames)) {
        std::ranges::copy(OriginalsProjection::projectedSupersetArrangements(arrangements, active),
                          std::back_inserter(all));
    }
    return all;
}

Positions anchored(Positions positions) {
    const auto main = std::ranges::find(positions, CGMainDisplayID(), &HardwarePosition::displayID);
    const CGPoint shift = main == positions.end() ? CGPoint{} : main->origin;
    for (HardwarePosition& position : positions) {
        position.origin.x -= shift.x;
        position.origin.y -= shift.y;
    }
    return positions;
}

Positions bestPositions(const PresentDisplays& present, const Arrangements& arrangements) {
    for (const Arrangement& arrangement : candidates(present, arrangements)) {
        const Positions positions = positionsOf(present, arrangement);
        if (areUsable(positions)) {
            return anchored(positions);
        }
    }
    return Zigzag::isFullZigzag(present.frames)
               ? DisplayApply::stackedFallbackPositions(present.frames, CGMainDisplayID())
               : Positions{};
}

}  // namespace

ArrangementPlan planArrangement(const PresentDisplays& present) {
    const OriginalsFile originals = OriginalsStore::load(OriginalsStore::defaultPath());
    ArrangementPlan plan{.isNeeded = isMainAppLayout(present),
                         .hasRecord = !originals.arrangements.empty(),
                         .isMarked = isMarked(present.signature)};
    if (plan.isNeeded) {
        plan.positions = bestPositions(present, originals.arrangements);
    }
    return plan;
}

}  // namespace tolvaran::describe
