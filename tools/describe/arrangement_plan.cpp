#include "tools/describe/arrangement_plan.hpp"

#include <algorithm>
#include <utility>

#include "restore/arrangement/arrangement_candidates.hpp"
#include "restore/arrangement/main_application_layout.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::describe {
namespace {

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

/// A saved arrangement that may help.
struct Candidate {
    SavedArrangement entries;
    bool isExact = false;  // of just these displays
};

/// The saved arrangements that may help, in the order in which a repair tries them.
std::vector<Candidate> candidates(const Hardware& hardware, const SavedArrangements& arrangements,
                                  bool isFullZigzag) {
    std::vector<Candidate> all;
    if (const auto exact = arrangements.find(hardware.signature); exact != arrangements.end()) {
        all.push_back({.entries = exact->second, .isExact = true});
    }
    for (const Subset& subset : subsetArrangements(hardware, arrangements)) {
        all.push_back({.entries = *subset.entries});
    }
    if (isFullZigzag) {
        for (SavedArrangement& projection : projectedArrangements(hardware, arrangements)) {
            all.push_back({.entries = std::move(projection)});
        }
    }
    return all;
}

struct Best {
    Positions positions = {};
    bool isInForce = false;  // the exact arrangement is, and nothing is moved
};

Best bestPositions(const Hardware& hardware, const SavedArrangements& arrangements) {
    const std::vector<DisplayFrame> frames = currentFrames(hardware.displays);
    const DisplayPlaces places = placesOf(frames);
    const bool isFullZigzag = Zigzag::isFullZigzag(frames);
    for (const Candidate& candidate : candidates(hardware, arrangements, isFullZigzag)) {
        const Positions positions = activePositions(hardware, candidate.entries);
        if (positions.empty() || flawOf(positions, places)) {
            continue;
        }
        if (!isInForce(positions, places)) {
            return {.positions = DisplayApply::anchoredPositions(positions, places.mainDisplay)};
        }
        if (candidate.isExact && !Zigzag::isZigzag(frames)) {
            return {.isInForce = true};
        }
    }
    if (!isFullZigzag) {
        return {};
    }
    return {.positions = DisplayApply::stackedFallbackPositions(frames, places.mainDisplay)};
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
