#include "restore/arrangement/arrangement_repair.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <set>
#include <string_view>

#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/main_application_layout.hpp"
#include "restore/arrangement/named_displays.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/repair_attempts.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran {
namespace {

using Arrangement = std::vector<OriginalsEntry>;
using Arrangements = std::map<std::string, Arrangement>;
using Positions = std::vector<HardwarePosition>;
using MainApplicationLayout::Marks;

// How often one check configures the displays, however many saved arrangements a file holds.
constexpr std::size_t configurationLimit = repair_attempts::limitForAll;

/// One repair in progress.
struct Repair {
    const Hardware& hardware;
    const CheckLog& log;
    // After the last configuration. Read once, not for every arrangement.
    std::map<CGDirectDisplayID, CGRect> frames = {};
    CGDirectDisplayID mainDisplay = kCGNullDirectDisplay;
    std::size_t configurations = 0;
};

void noteFrames(Repair& repair, const std::vector<DisplayFrame>& frames) {
    repair.frames.clear();
    for (const DisplayFrame& frame : frames) {
        repair.frames[frame.displayID] = frame.frame;
    }
    repair.mainDisplay = CGMainDisplayID();
}

/// Where the displays are, read a second time if one of them could not be read: whether it moves
/// decides the outcome of the repair.
std::vector<DisplayFrame> carefullyReadFrames(const Hardware& hardware) {
    const std::vector<DisplayFrame> frames = presentFrames(hardware);
    return frames.size() < hardware.displays.size() ? presentFrames(hardware) : frames;
}

Repair beginRepair(const Hardware& hardware, const CheckLog& log) {
    Repair repair{.hardware = hardware, .log = log};
    noteFrames(repair, carefullyReadFrames(hardware));
    return repair;
}

/// Where the entries put their active displays.
Positions activePositions(const Hardware& hardware, const Arrangement& entries) {
    Positions positions;
    positions.reserve(entries.size());
    for (const OriginalsEntry& entry : entries) {
        const auto active = hardware.displayIDByCanonicalID.find(entry.uuid);
        if (active != hardware.displayIDByCanonicalID.end()) {
            positions.push_back(
                {.displayID = active->second, .origin = CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

/// Whether the display can be put there, wherever the main display is.
bool isInRange(const HardwarePosition& position) {
    constexpr double reach = 1 << 30;  // points; the sum of two fits the window server's integers
    return std::abs(position.origin.x) < reach && std::abs(position.origin.y) < reach;
}

/// The displays at new places, with their present sizes.
std::vector<DisplayFrame> plannedFrames(const Repair& repair, const Positions& positions) {
    std::vector<DisplayFrame> frames;
    frames.reserve(positions.size());
    for (const HardwarePosition& position : positions) {
        const auto present = repair.frames.find(position.displayID);
        if (present != repair.frames.end()) {
            addFrame(frames, position.displayID, {position.origin, present->second.size});
        }
    }
    return frames;
}

/// Whether each display is where applying the positions would put it. Of several positions for one
/// display the last one counts, as in a configuration.
bool isInForce(const Repair& repair, const Positions& positions) {
    std::map<CGDirectDisplayID, CGPoint> places;
    for (const HardwarePosition& position :
         DisplayApply::anchoredPositions(positions, repair.mainDisplay)) {
        places[position.displayID] =
            CGPointMake(std::trunc(position.origin.x), std::trunc(position.origin.y));
    }
    return std::ranges::all_of(places, [&](const auto& place) {
        const auto present = repair.frames.find(place.first);
        return present != repair.frames.end() &&
               CGPointEqualToPoint(present->second.origin, place.second);
    });
}

/// Whether any display that could be read both times has moved.
bool haveMoved(const std::map<CGDirectDisplayID, CGRect>& before,
               const std::map<CGDirectDisplayID, CGRect>& now) {
    return std::ranges::any_of(now, [&](const auto& display) {
        const auto was = before.find(display.first);
        return was != before.end() &&
               !CGPointEqualToPoint(was->second.origin, display.second.origin);
    });
}

using repair_attempts::Effect;

void noteAttempt(const Repair& repair, const Positions& positions, const std::string& what,
                 Effect effect) {
    using repair_attempts::NextStep;
    const NextStep next = repair_attempts::noteAttempt(positions, effect);
    if (next == NextStep::goOn) {
        return;
    }
    const bool isAll = next == NextStep::leaveAll;
    const std::string subject = isAll ? "saved arrangements were" : what + " was";
    const auto times = isAll ? repair_attempts::limitForAll : repair_attempts::limitForOne;
    const long minutes = std::lround(repair_attempts::exclusionTime / 60);
    repair.log("warn", subject + " applied " + std::to_string(times) +
                           " times without settling the displays; skipping for " +
                           std::to_string(minutes) + " minutes");
}

/// What the accepted positions have done to the displays.
Effect lookAgain(Repair& repair) {
    const auto before = repair.frames;
    const std::vector<DisplayFrame> now = carefullyReadFrames(repair.hardware);
    const bool zigzag = Zigzag::isZigzag(now);
    noteFrames(repair, now);
    if (!haveMoved(before, repair.frames)) {
        return Effect::none;
    }
    return zigzag ? Effect::leftZigzag : Effect::settled;
}

/// Applies the positions and reads the displays again. A refusal is logged.
/// @param what    the arrangement's name in the log line that says it will be left alone
/// @param refusal the log line of a refusal
/// @return whether the displays have moved and no zigzag is left
bool configure(Repair& repair, const Positions& positions, const std::string& what,
               const std::string& refusal) {
    if (++repair.configurations == configurationLimit) {
        repair.log("debug", "not trying further saved arrangements in this check");
    }
    if (!DisplayApply::applyOriginalsToHardware(positions)) {
        repair.log("error", refusal);
        return false;
    }
    const Effect effect = lookAgain(repair);
    noteAttempt(repair, positions, what, effect);
    return effect == Effect::settled;
}

/// Whether the positions may be configured. If not, logs why.
bool isUsable(const Repair& repair, const Positions& positions, const std::string& candidate) {
    const auto refuse = [&](const std::string& reason) {
        repair.log("warn", candidate + reason + ", skipping");
        return false;
    };
    if (positions.size() > displayLimit) {
        return refuse(" has " + std::to_string(positions.size()) + " positions");
    }
    if (!std::ranges::all_of(positions, isInRange)) {
        return refuse(" has out-of-range coordinates");
    }
    return !Zigzag::isZigzag(plannedFrames(repair, positions)) || refuse(" is itself zigzag");
}

/// How a candidate counts that is already in place.
enum class InForce { isRestored, isPassedOver };

/// Tries a saved arrangement, unless none of its displays is active or one of the guards stops it.
/// @param label what the log calls it
bool tryCandidate(Repair& repair, const Arrangement& entries, const std::string& label,
                  InForce inForce) {
    const Positions positions = activePositions(repair.hardware, entries);
    const std::string candidate = "candidate " + label;
    if (positions.empty() || repair.configurations >= configurationLimit ||
        !repair_attempts::mayTry(positions) || !isUsable(repair, positions, candidate)) {
        return false;
    }
    if (isInForce(repair, positions)) {
        if (inForce == InForce::isRestored && !Zigzag::isZigzag(presentFrames(repair.hardware))) {
            return true;
        }
        repair.log("debug", candidate + " is already in force, skipping");
        return false;
    }
    return configure(repair, positions, candidate, "CG configure rejected for " + label);
}

/// Whether a row may replace the layout: only a full zigzag, since any other may partly be the
/// user's own, or a zigzag that saved arrangements have left again and again.
bool mayBecomeRow(const std::vector<DisplayFrame>& frames) {
    return Zigzag::isFullZigzag(frames) ||
           (repair_attempts::haveLeftZigzag() && Zigzag::isZigzag(frames));
}

/// Tries to put the displays into one row.
bool tryStackedFallback(Repair& repair) {
    const std::vector<DisplayFrame> frames = currentFrames(repair.hardware.displays);
    if (!mayBecomeRow(frames)) {
        repair.log("warn",
                   "no saved arrangement was usable, but layout is not a full zigzag; leaving "
                   "hardware unchanged");
        return false;
    }
    const Positions positions = DisplayApply::stackedFallbackPositions(frames, CGMainDisplayID());
    if (positions.empty() || !repair_attempts::mayTryRow(positions)) {
        return false;
    }
    if (isInForce(repair, positions)) {
        repair.log("debug", "stacked fallback is already in force, skipping");
        return false;
    }
    repair.log("warn", "applying stacked fallback because no saved arrangement was usable");
    return configure(repair, positions, "stacked fallback",
                     "CG configure rejected stacked fallback");
}

// The strategies. Each returns the log line of its success, or none.

std::optional<std::string> restoreExact(Repair& repair, const Arrangements& arrangements) {
    const std::string sig = "sig=" + repair.hardware.signature;
    const auto exact = arrangements.find(repair.hardware.signature);
    if (exact == arrangements.end() ||
        !tryCandidate(repair, exact->second, sig, InForce::isRestored)) {
        return std::nullopt;
    }
    return "restored exact arrangement for " + sig;
}

struct Subset {
    std::size_t size;  // how many displays it names
    const Arrangement* entries;
};

/// How many different displays the entries name. Copies no text: a damaged file may hold thousands
/// of arrangements.
std::size_t countDisplays(const Arrangement& entries) {
    std::vector<std::string_view> uuids;
    uuids.reserve(entries.size());
    for (const OriginalsEntry& entry : entries) {
        uuids.push_back(entry.uuid);
    }
    std::ranges::sort(uuids);
    return static_cast<std::size_t>(std::unique(uuids.begin(), uuids.end()) - uuids.begin());
}

/// The arrangements of some of the active displays and no others, those of the most displays first.
std::vector<Subset> subsetArrangements(const Hardware& hardware, const Arrangements& arrangements) {
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

std::optional<std::string> restoreSubset(Repair& repair, const Arrangements& arrangements) {
    for (const Subset& subset : subsetArrangements(repair.hardware, arrangements)) {
        const std::string size = std::to_string(subset.size);
        if (tryCandidate(repair, *subset.entries, "subset(" + size + ")", InForce::isPassedOver)) {
            return "subset-restored for sig=" + repair.hardware.signature + " from " + size +
                   "-display arrangement";
        }
    }
    return std::nullopt;
}

std::set<std::string> activeUUIDs(const Hardware& hardware) {
    std::set<std::string> uuids;
    for (const auto& [uuid, display] : hardware.displayIDByCanonicalID) {
        uuids.insert(uuid);
    }
    return uuids;
}

std::optional<std::string> restoreProjection(Repair& repair, const Arrangements& arrangements) {
    if (!Zigzag::isFullZigzag(presentFrames(repair.hardware))) {
        repair.log("warn",
                   "layout is corner-only but not a full zigzag (ambiguous); skipping superset "
                   "projection");
        return std::nullopt;
    }
    const std::vector<Arrangement> projections = OriginalsProjection::projectedSupersetArrangements(
        arrangements, activeUUIDs(repair.hardware));
    for (std::size_t i = 0; i < projections.size(); ++i) {
        if (tryCandidate(repair, projections[i], "superset-projection[" + std::to_string(i) + "]",
                         InForce::isPassedOver)) {
            return "superset-projection-restored for sig=" + repair.hardware.signature;
        }
    }
    return std::nullopt;
}

std::optional<std::string> restoreStacked(Repair& repair, const Arrangements& /*arrangements*/) {
    if (!tryStackedFallback(repair)) {
        return std::nullopt;
    }
    return "restored stacked fallback for sig=" + repair.hardware.signature;
}

struct Strategy {
    std::optional<std::string> (*attempt)(Repair& repair, const Arrangements& arrangements);
    Marks settledMarks;  // the marks that its success makes outdated
};

/// In the order in which they are tried.
constexpr std::array<Strategy, 4> strategies{{
    {restoreExact, Marks::all},
    {restoreSubset, Marks::allButNativeMirrored},
    {restoreProjection, Marks::allButNativeMirrored},
    {restoreStacked, Marks::allButNativeMirrored},
}};

}  // namespace

void repairArrangement(const Hardware& hardware, const CheckLog& log) {
    const OriginalsFile originals = OriginalsStore::load(OriginalsStore::defaultPath());
    Repair repair = beginRepair(hardware, log);
    for (const Strategy& strategy : strategies) {
        if (const auto success = strategy.attempt(repair, originals.arrangements)) {
            log("info", *success);
            MainApplicationLayout::clear(strategy.settledMarks, hardware.signature, log);
            return;
        }
    }
    log("warn", "no usable saved arrangement or fallback for sig=" + hardware.signature);
}

}  // namespace tolvaran
