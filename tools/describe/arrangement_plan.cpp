#include "tools/describe/arrangement_plan.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

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

/// Whether the invariant would try them: a damaged record may ask for what no Mac can do.
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

/// A saved arrangement that may help.
struct Candidate {
    Arrangement entries;
    bool isExact = false;  // of just these displays
};

/// Those of some, and only of, the active displays; those of the most displays first.
std::vector<Candidate> subsets(const Hardware& hardware, const Arrangements& arrangements,
                               const std::set<std::string>& active) {
    std::vector<Candidate> all;
    for (const auto& [signature, arrangement] : arrangements) {
        const std::set<std::string> named = OriginalsProjection::uuids(arrangement);
        if (signature != hardware.signature && std::ranges::includes(active, named)) {
            all.push_back({.entries = arrangement});
        }
    }
    std::ranges::stable_sort(all, std::ranges::greater(), [](const Candidate& subset) {
        return OriginalsProjection::uuids(subset.entries).size();
    });
    return all;
}

/// Whether applying the positions would leave each display where it is. Of several positions of one
/// display the last one counts.
bool areInForce(const Positions& positions) {
    std::map<CGDirectDisplayID, CGPoint> places;
    for (const HardwarePosition& position : positions) {
        places[position.displayID] =
            CGPointMake(std::trunc(position.origin.x), std::trunc(position.origin.y));
    }
    return std::ranges::all_of(places, [](const auto& place) {
        return CGPointEqualToPoint(CGDisplayBounds(place.first).origin, place.second);
    });
}

struct Best {
    Positions positions = {};
    bool isInForce = false;  // the exact arrangement is, and nothing is moved
};

/// The saved arrangements that may help, the best first.
std::vector<Candidate> candidates(const Hardware& hardware, const Arrangements& arrangements,
                                  const std::vector<DisplayFrame>& frames) {
    std::set<std::string> active;
    for (const auto& [id, display] : hardware.displayIDByCanonicalID) {
        active.insert(id);
    }
    std::vector<Candidate> all = subsets(hardware, arrangements, active);
    if (const auto exact = arrangements.find(hardware.signature); exact != arrangements.end()) {
        all.insert(all.begin(), {.entries = exact->second, .isExact = true});
    }
    if (Zigzag::isFullZigzag(frames)) {
        for (Arrangement& projection :
             OriginalsProjection::projectedSupersetArrangements(arrangements, active)) {
            all.push_back({.entries = std::move(projection)});
        }
    }
    return all;
}

Best bestPositions(const Hardware& hardware, const Arrangements& arrangements) {
    const std::vector<DisplayFrame> frames = currentFrames(hardware.displays);
    for (const Candidate& candidate : candidates(hardware, arrangements, frames)) {
        const Positions saved = positionsOf(hardware, candidate.entries);
        if (!areUsable(saved)) {
            continue;
        }
        const Positions positions = DisplayApply::anchoredPositions(saved, CGMainDisplayID());
        if (!areInForce(positions)) {
            return {.positions = positions};
        }
        if (candidate.isExact && !Zigzag::isZigzag(frames)) {
            return {.isInForce = true};
        }
    }
    if (!Zigzag::isFullZigzag(frames)) {
        return {};
    }
    return {.positions = DisplayApply::stackedFallbackPositions(frames, CGMainDisplayID())};
}

}  // namespace

ArrangementPlan planArrangement(const Hardware& hardware) {
    const OriginalsFile originals = OriginalsStore::load(OriginalsStore::defaultPath());
    ArrangementPlan plan{.isNeeded = MainApplicationLayout::look(hardware).isMainAppLayout,
                         .hasRecord = !originals.arrangements.empty(),
                         .isMarked = isMarked(hardware.signature)};
    if (plan.isNeeded) {
        Best best = bestPositions(hardware, originals.arrangements);
        plan.positions = std::move(best.positions);
        plan.isInForce = best.isInForce;
    }
    return plan;
}

}  // namespace tolvaran::describe
