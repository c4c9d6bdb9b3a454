#include "helper/steps/check_invariant.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "helper/restore_step.hpp"
#include "restore/arrangement/active_displays.hpp"
#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/display_frame.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/signature.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran {
namespace {

using Arrangement = std::vector<OriginalsEntry>;
using Arrangements = std::map<std::string, Arrangement>;
using DisplaysByCanonicalID = std::map<std::string, CGDirectDisplayID>;

constexpr std::uint32_t displayLimit = 16;  // displays beyond it are not seen

/// One store of set marks.
struct MarkStore {
    const char* mark;  // as the log calls it
    std::string (*path)();
    std::vector<std::string> (*signatures)(const std::string& path);
    void (*clear)(const std::string& signature, const std::string& path);
};

constexpr std::array<MarkStore, 3> markStores{{
    {"separated mark", SeparatedSetsStore::defaultPath, SeparatedSetsStore::signatures,
     SeparatedSetsStore::clearSeparated},
    {"stale side-pin mark", SidePinnedSetsStore::defaultPath, SidePinnedSetsStore::signatures,
     SidePinnedSetsStore::clearSidePinned},
    {"stale native-mirror mark", NativeMirroredSetsStore::defaultPath,
     NativeMirroredSetsStore::signatures, NativeMirroredSetsStore::clearNativeMirrored},
}};
constexpr std::span<const MarkStore> allMarks = markStores;
constexpr std::span<const MarkStore> allButNativeMirrored = allMarks.first<2>();

/// What one run works on.
struct Run {
    RestoreStep step;
    std::vector<CGDirectDisplayID> displays;  // in the window server's order
    DisplaysByCanonicalID displayIDByCanonicalID;
    std::string signature;
};

Run beginRun(const RestoreStep& step) {
    const std::vector<CGDirectDisplayID> displays = activeDisplays(displayLimit);
    const std::vector<std::string> ids = canonicalIDs(displays);
    return {.step = step,
            .displays = displays,
            .displayIDByCanonicalID = displaysByCanonicalID(displays, ids),
            .signature = Zigzag::signature(ids)};
}

std::vector<DisplayFrame> currentFrames(const std::vector<CGDirectDisplayID>& displays) {
    std::vector<DisplayFrame> frames;
    for (const CGDirectDisplayID display : displays) {
        frames.push_back({.displayID = display, .frame = CGDisplayBounds(display)});
    }
    return frames;
}

/// Displays that cannot be listed show no zigzag: without knowing the layout, leaving it alone is
/// the one thing that cannot make it worse.
bool isZigzagNow() {
    return Zigzag::isZigzag(currentFrames(activeDisplays(displayLimit)));
}

/// Applies the positions. False when the window server refuses, which is logged as `refusal`, and
/// when it accepts and yet leaves a zigzag behind.
bool apply(const std::vector<HardwarePosition>& positions, const RestoreStep& step,
           const std::string& refusal) {
    if (!DisplayApply::applyOriginalsToHardware(positions)) {
        step.log("error", refusal);
        return false;
    }
    return !isZigzagNow();
}

/// Where the entries put those of their displays that are active.
std::vector<HardwarePosition> activePositions(const Arrangement& entries,
                                              const DisplaysByCanonicalID& displayIDs) {
    std::vector<HardwarePosition> positions;
    for (const OriginalsEntry& entry : entries) {
        const auto active = displayIDs.find(entry.uuid);
        if (active != displayIDs.end()) {
            positions.push_back(
                {.displayID = active->second, .origin = CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

/// The displays of their present sizes at new places.
std::vector<DisplayFrame> plannedFrames(const std::vector<HardwarePosition>& positions) {
    std::vector<DisplayFrame> frames;
    for (const HardwarePosition& position : positions) {
        const CGSize size = CGDisplayBounds(position.displayID).size;
        frames.push_back({.displayID = position.displayID, .frame = {position.origin, size}});
    }
    return frames;
}

/// Tries a saved arrangement, unless none of its displays is active or it is itself a zigzag.
/// @param label what the log calls it
bool tryApplyCandidate(const Arrangement& entries, const DisplaysByCanonicalID& displayIDs,
                       const RestoreStep& step, const std::string& label) {
    const std::vector<HardwarePosition> positions = activePositions(entries, displayIDs);
    if (positions.empty()) {
        return false;
    }
    if (Zigzag::isZigzag(plannedFrames(positions))) {
        step.log("warn", "candidate " + label + " is itself zigzag, skipping");
        return false;
    }
    return apply(positions, step, "CG configure rejected for " + label);
}

/// Tries to put the displays into one row. Only for a full zigzag: any other layout may be in part
/// the user's own, and a made-up row would destroy that.
bool tryStackedFallback(const std::vector<CGDirectDisplayID>& displays, const RestoreStep& step) {
    const std::vector<DisplayFrame> frames = currentFrames(displays);
    if (!Zigzag::isFullZigzag(frames)) {
        step.log("warn",
                 "no saved arrangement was usable, but layout is not a full zigzag; leaving "
                 "hardware unchanged");
        return false;
    }
    const std::vector<HardwarePosition> positions =
        DisplayApply::stackedFallbackPositions(frames, CGMainDisplayID());
    if (positions.empty()) {
        return false;
    }
    step.log("warn", "applying stacked fallback because no saved arrangement was usable");
    return apply(positions, step, "CG configure rejected stacked fallback");
}

// The ways to repair the layout. Each returns what the log is to say of its success, or none.

std::optional<std::string> restoreExact(const Run& run, const Arrangements& arrangements) {
    const auto exact = arrangements.find(run.signature);
    if (exact == arrangements.end() || !tryApplyCandidate(exact->second, run.displayIDByCanonicalID,
                                                          run.step, "sig=" + run.signature)) {
        return std::nullopt;
    }
    return "restored exact arrangement for sig=" + run.signature;
}

struct Subset {
    std::size_t size;  // how many displays it names
    const Arrangement* entries;
};

/// The arrangements of some, and only of, the active displays; those of the most displays first.
std::vector<Subset> subsetArrangements(const Run& run, const Arrangements& arrangements) {
    std::vector<Subset> subsets;
    for (const auto& [signature, entries] : arrangements) {
        const std::set<std::string> uuids = OriginalsProjection::uuids(entries);
        const bool allActive = std::ranges::all_of(uuids, [&](const std::string& uuid) {
            return run.displayIDByCanonicalID.contains(uuid);
        });
        if (signature != run.signature && !uuids.empty() && allActive) {
            subsets.push_back({.size = uuids.size(), .entries = &entries});
        }
    }
    std::ranges::stable_sort(subsets, std::ranges::greater(), &Subset::size);
    return subsets;
}

std::optional<std::string> restoreSubset(const Run& run, const Arrangements& arrangements) {
    for (const Subset& subset : subsetArrangements(run, arrangements)) {
        const std::string size = std::to_string(subset.size);
        if (tryApplyCandidate(*subset.entries, run.displayIDByCanonicalID, run.step,
                              "subset(" + size + ")")) {
            return "subset-restored for sig=" + run.signature + " from " + size +
                   "-display arrangement";
        }
    }
    return std::nullopt;
}

std::set<std::string> activeUUIDs(const Run& run) {
    std::set<std::string> uuids;
    for (const auto& [uuid, display] : run.displayIDByCanonicalID) {
        uuids.insert(uuid);
    }
    return uuids;
}

std::optional<std::string> restoreProjection(const Run& run, const Arrangements& arrangements) {
    if (!Zigzag::isFullZigzag(currentFrames(activeDisplays(displayLimit)))) {
        run.step.log("warn",
                     "layout is corner-only but not a full zigzag (ambiguous); skipping superset "
                     "projection");
        return std::nullopt;
    }
    const std::vector<Arrangement> projections =
        OriginalsProjection::projectedSupersetArrangements(arrangements, activeUUIDs(run));
    for (std::size_t i = 0; i < projections.size(); ++i) {
        if (tryApplyCandidate(projections[i], run.displayIDByCanonicalID, run.step,
                              "superset-projection[" + std::to_string(i) + "]")) {
            return "superset-projection-restored for sig=" + run.signature;
        }
    }
    return std::nullopt;
}

std::optional<std::string> restoreStacked(const Run& run, const Arrangements&) {
    if (!tryStackedFallback(run.displays, run.step)) {
        return std::nullopt;
    }
    return "restored stacked fallback for sig=" + run.signature;
}

struct Repair {
    std::optional<std::string> (*attempt)(const Run& run, const Arrangements& arrangements);
    std::span<const MarkStore> settledMarks;  // what its success makes out of date
};

/// In the order in which they are tried. A native-mirrored mark outlives every repair but the exact
/// one: the others do not put back all that the user had, so that a layout which matches the mark
/// must still be recognised as the main application's.
constexpr std::array<Repair, 4> repairs{{
    {restoreExact, allMarks},
    {restoreSubset, allButNativeMirrored},
    {restoreProjection, allButNativeMirrored},
    {restoreStacked, allButNativeMirrored},
}};

void repairLayout(const Run& run) {
    const OriginalsFile originals = OriginalsStore::load(OriginalsStore::defaultPath());
    for (const Repair& repair : repairs) {
        if (const auto success = repair.attempt(run, originals.arrangements)) {
            run.step.log("info", *success);
            for (const MarkStore& store : repair.settledMarks) {
                store.clear(run.signature, store.path());
            }
            return;
        }
    }
    run.step.log("warn", "no usable saved arrangement or fallback for sig=" + run.signature);
}

/// Whether the displays stand where a mark says that the main application has put them.
bool isMarkedLayout(const Run& run) {
    std::map<std::string, CGPoint> origins;
    for (const auto& [uuid, display] : run.displayIDByCanonicalID) {
        origins[uuid] = CGDisplayBounds(display).origin;
    }
    const bool sidePinned = SidePinnedSetsStore::matchesCurrentHardware(
        run.signature, origins, SidePinnedSetsStore::defaultPath());
    const bool nativeMirrored = NativeMirroredSetsStore::matchesCurrentHardware(
        run.signature, origins, NativeMirroredSetsStore::defaultPath());
    return sidePinned || nativeMirrored;
}

bool isMainAppLayout(const Run& run) {
    const bool zigzag = isZigzagNow();
    return isMarkedLayout(run) || zigzag;
}

/// A second look. A file or a display that could not be read the first time must not cost a mark
/// that is all that tells of the main application's layout.
bool isStillHealthy(const Run& run) {
    return !Zigzag::isZigzag(currentFrames(run.displays)) && !isMarkedLayout(run);
}

void clearStaleMarks(const Run& run) {
    std::vector<MarkStore> stale;
    std::ranges::copy_if(markStores, std::back_inserter(stale), [&](const MarkStore& store) {
        const std::vector<std::string> marked = store.signatures(store.path());
        return std::ranges::find(marked, run.signature) != marked.end();
    });
    if (stale.empty() || !isStillHealthy(run)) {
        return;
    }
    for (const MarkStore& store : stale) {
        store.clear(run.signature, store.path());
        run.step.log("info",
                     std::string("cleared ") + store.mark + " for healthy sig=" + run.signature);
    }
}

}  // namespace

void checkInvariant(const std::string& tag, std::optional<pid_t> exitedPID) {
    const RestoreStep step("checkInvariant", tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const Run run = beginRun(step);
    if (isMainAppLayout(run)) {
        repairLayout(run);
        return;
    }
    step.log("debug", "hardware not a Tolvaran layout, invariant holds");
    clearStaleMarks(run);
}

}  // namespace tolvaran
