#include "restore/arrangement/arrangement_repair.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "restore/arrangement/arrangement_candidates.hpp"
#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/main_application_layout.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/repair_attempts.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran {
namespace {

using MainApplicationLayout::Marks;

// How often one check may configure the displays, however many saved arrangements a file holds.
constexpr std::size_t configurationLimit = repair_attempts::limitForAll;

/// One repair in progress.
struct Repair {
    const Hardware& hardware;
    const CheckLog& log;
    // After the last configuration. Read once, not for every arrangement.
    DisplayPlaces places = {};
    std::size_t configurations = 0;
};

/// Where the displays are, read a second time if one of them could not be read: whether it moves
/// decides the outcome of the repair.
std::vector<DisplayFrame> carefullyReadFrames(const Hardware& hardware) {
    const std::vector<DisplayFrame> frames = presentFrames(hardware);
    return frames.size() < hardware.displays.size() ? presentFrames(hardware) : frames;
}

Repair beginRepair(const Hardware& hardware, const CheckLog& log) {
    return {.hardware = hardware, .log = log, .places = placesOf(carefullyReadFrames(hardware))};
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
    const DisplayPlaces before = repair.places;
    const std::vector<DisplayFrame> now = carefullyReadFrames(repair.hardware);
    const bool zigzag = Zigzag::isZigzag(now);
    repair.places = placesOf(now);
    if (!haveMoved(before.frames, repair.places.frames)) {
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

/// How a candidate that is already in place counts.
enum class InForce { isRestored, isPassedOver };

/// Tries a saved arrangement, unless none of its displays is active or one of the guards stops it.
/// @param label what the log calls it
bool tryCandidate(Repair& repair, const SavedArrangement& entries, const std::string& label,
                  InForce inForce) {
    const Positions positions = activePositions(repair.hardware, entries);
    const std::string candidate = "candidate " + label;
    if (positions.empty() || repair.configurations >= configurationLimit ||
        !repair_attempts::mayTry(positions)) {
        return false;
    }
    if (const auto flaw = flawOf(positions, repair.places)) {
        repair.log("warn", candidate + " " + *flaw + ", skipping");
        return false;
    }
    if (isInForce(positions, repair.places)) {
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
    if (isInForce(positions, repair.places)) {
        repair.log("debug", "stacked fallback is already in force, skipping");
        return false;
    }
    repair.log("warn", "applying stacked fallback because no saved arrangement was usable");
    return configure(repair, positions, "stacked fallback",
                     "CG configure rejected stacked fallback");
}

// The strategies. Each returns the log line of its success, or none.

std::optional<std::string> restoreExact(Repair& repair, const SavedArrangements& arrangements) {
    const std::string sig = "sig=" + repair.hardware.signature;
    const auto exact = arrangements.find(repair.hardware.signature);
    if (exact == arrangements.end() ||
        !tryCandidate(repair, exact->second, sig, InForce::isRestored)) {
        return std::nullopt;
    }
    return "restored exact arrangement for " + sig;
}

std::optional<std::string> restoreSubset(Repair& repair, const SavedArrangements& arrangements) {
    for (const Subset& subset : subsetArrangements(repair.hardware, arrangements)) {
        const std::string size = std::to_string(subset.size);
        if (tryCandidate(repair, *subset.entries, "subset(" + size + ")", InForce::isPassedOver)) {
            return "subset-restored for sig=" + repair.hardware.signature + " from " + size +
                   "-display arrangement";
        }
    }
    return std::nullopt;
}

std::optional<std::string> restoreProjection(Repair& repair,
                                             const SavedArrangements& arrangements) {
    if (!Zigzag::isFullZigzag(presentFrames(repair.hardware))) {
        repair.log("warn",
                   "layout is corner-only but not a full zigzag (ambiguous); skipping superset "
                   "projection");
        return std::nullopt;
    }
    const std::vector<SavedArrangement> projections =
        projectedArrangements(repair.hardware, arrangements);
    for (std::size_t i = 0; i < projections.size(); ++i) {
        if (tryCandidate(repair, projections[i], "superset-projection[" + std::to_string(i) + "]",
                         InForce::isPassedOver)) {
            return "superset-projection-restored for sig=" + repair.hardware.signature;
        }
    }
    return std::nullopt;
}

std::optional<std::string> restoreStacked(Repair& repair,
                                          const SavedArrangements& /*arrangements*/) {
    if (!tryStackedFallback(repair)) {
        return std::nullopt;
    }
    return "restored stacked fallback for sig=" + repair.hardware.signature;
}

struct Strategy {
    std::optional<std::string> (*attempt)(Repair& repair, const SavedArrangements& arrangements);
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
