#include "restore/arrangement/arrangement_candidates.hpp"

#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>

#include "restore/arrangement/named_displays.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran {
namespace {

/// Whether the display can be put there, wherever the main display is.
bool isInRange(const HardwarePosition& position) {
    constexpr double reach = 1 << 30;  // points; the sum of two fits the window server's integers
    return std::abs(position.origin.x) < reach && std::abs(position.origin.y) < reach;
}

/// The displays at new places, with their present sizes.
std::vector<DisplayFrame> plannedFrames(const Positions& positions, const DisplayPlaces& places) {
    std::vector<DisplayFrame> frames;
    frames.reserve(positions.size());
    for (const HardwarePosition& position : positions) {
        const auto present = places.frames.find(position.displayID);
        if (present != places.frames.end()) {
            addFrame(frames, position.displayID, {position.origin, present->second.size});
        }
    }
    return frames;
}

/// How many different displays the entries name. Copies no text: a damaged file may hold thousands
/// of arrangements.
std::size_t countDisplays(const SavedArrangement& entries) {
    std::vector<std::string_view> uuids;
    uuids.reserve(entries.size());
    for (const OriginalsEntry& entry : entries) {
        uuids.push_back(entry.uuid);
    }
    std::ranges::sort(uuids);
    return static_cast<std::size_t>(std::unique(uuids.begin(), uuids.end()) - uuids.begin());
}

}  // namespace

DisplayPlaces placesOf(const std::vector<DisplayFrame>& frames) {
    DisplayPlaces places;
    for (const DisplayFrame& frame : frames) {
        places.frames[frame.displayID] = frame.frame;
    }
    places.mainDisplay = CGMainDisplayID();
    return places;
}

Positions activePositions(const Hardware& hardware, const SavedArrangement& arrangement) {
    Positions positions;
    positions.reserve(arrangement.size());
    for (const OriginalsEntry& entry : arrangement) {
        const auto active = hardware.displayIDByCanonicalID.find(entry.uuid);
        if (active != hardware.displayIDByCanonicalID.end()) {
            positions.push_back(
                {.displayID = active->second, .origin = CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

std::optional<std::string> flawOf(const Positions& positions, const DisplayPlaces& places) {
    if (positions.size() > displayLimit) {
        return "has " + std::to_string(positions.size()) + " positions";
    }
    if (!std::ranges::all_of(positions, isInRange)) {
        return "has out-of-range coordinates";
    }
    if (Zigzag::isZigzag(plannedFrames(positions, places))) {
        return "is itself zigzag";
    }
    return std::nullopt;
}

bool isInForce(const Positions& positions, const DisplayPlaces& places) {
    std::map<CGDirectDisplayID, CGPoint> origins;
    for (const HardwarePosition& position :
         DisplayApply::anchoredPositions(positions, places.mainDisplay)) {
        origins[position.displayID] =
            CGPointMake(std::trunc(position.origin.x), std::trunc(position.origin.y));
    }
    return std::ranges::all_of(origins, [&](const auto& origin) {
        const auto present = places.frames.find(origin.first);
        return present != places.frames.end() &&
               CGPointEqualToPoint(present->second.origin, origin.second);
    });
}

std::vector<Subset> subsetArrangements(const Hardware& hardware,
                                       const SavedArrangements& arrangements) {
    std::vector<Subset> subsets;
    for (const auto& [signature, entries] : arrangements) {
        const bool allActive = std::ranges::all_of(entries, [&](const OriginalsEntry& entry) {
            return hardware.displayIDByCanonicalID.contains(entry.uuid);
        });
        if (signature != hardware.signature && !entries.empty() && allActive) {
            subsets.push_back({.size = countDisplays(entries), .entries = &entries});
        }
    }
    std::ranges::stable_sort(subsets, std::ranges::greater(), &Subset::size);
    return subsets;
}

std::vector<SavedArrangement> projectedArrangements(const Hardware& hardware,
                                                    const SavedArrangements& arrangements) {
    std::set<std::string> active;
    for (const auto& [uuid, display] : hardware.displayIDByCanonicalID) {
        active.insert(uuid);
    }
    return OriginalsProjection::projectedSupersetArrangements(arrangements, active);
}

}  // namespace tolvaran
