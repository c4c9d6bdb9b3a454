#include "helper/steps/check_invariant.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "helper/restore_step.hpp"
#include "restore/arrangement/active_displays.hpp"
#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/display_frame.hpp"
#include "restore/arrangement/display_identity.hpp"
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
using Origins = std::map<std::string, CGPoint>;

constexpr std::uint32_t displayLimit = 16;  // displays beyond it are not seen

// A record may name a display more than once, but none does so this often unless it is damaged; the
// time to look at so many would be missing to the steps behind this one.
constexpr std::size_t positionLimit = 1000;

/// One store of set marks.
struct MarkStore {
    const char* mark;  // as the log calls it
    std::string (*path)();
    /// Whether there is a mark of the signature, and the displays do not stand where it says.
    bool (*isStale)(const std::string& signature, const Origins& origins, const std::string& path);
    void (*clear)(const std::string& signature, const std::string& path);
};

/// A separated mark holds no positions.
bool isSeparated(const std::string& signature, const Origins& /*origins*/,
                 const std::string& path) {
    const std::vector<std::string> marked = SeparatedSetsStore::signatures(path);
    return std::ranges::find(marked, signature) != marked.end();
}

constexpr std::array<MarkStore, 3> markStores{{
    {"separated mark", SeparatedSetsStore::defaultPath, isSeparated,
     SeparatedSetsStore::clearSeparated},
    {"stale side-pin mark", SidePinnedSetsStore::defaultPath, SidePinnedSetsStore::isStale,
     SidePinnedSetsStore::clearSidePinned},
    {"stale native-mirror mark", NativeMirroredSetsStore::defaultPath,
     NativeMirroredSetsStore::isStale, NativeMirroredSetsStore::clearNativeMirrored},
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
    const std::vector<std::string> uuids = displayUUIDs(displays);
    const AliasMap aliases = AliasMap::load(AliasMap::defaultPreferencesPath());
    const std::vector<std::string> ids = canonicalIDs(uuids, aliases);
    return {.step = step,
            .displays = displays,
            .displayIDByCanonicalID = displaysByCanonicalID(displays, ids),
            .signature = Zigzag::signature(ids)};
}

void addFrame(std::vector<DisplayFrame>& frames, CGDirectDisplayID display, const CGRect& frame) {
    // Only a display that has just gone has no area. It touches nobody: taken for a point at the
    // desktop's origin, it would make a zigzag of any layout.
    if (!CGRectIsEmpty(frame)) {
        frames.push_back({.displayID = display, .frame = frame});
    }
}

std::vector<DisplayFrame> currentFrames(const std::vector<CGDirectDisplayID>& displays) {
    std::vector<DisplayFrame> frames;
    for (const CGDirectDisplayID display : displays) {
        addFrame(frames, display, CGDisplayBounds(display));
    }
    return frames;
}

/// The displays as they are now; those that the run began with, when they cannot be listed again.
std::vector<CGDirectDisplayID> presentDisplays(const Run& run) {
    const std::vector<CGDirectDisplayID> present = activeDisplays(displayLimit);
    return present.empty() ? run.displays : present;
}

bool isZigzagNow(const Run& run) {
    return Zigzag::isZigzag(currentFrames(presentDisplays(run)));
}

/// Applies the positions. False when the window server refuses, which is logged as `refusal`, and
/// when it accepts and yet leaves a zigzag behind.
bool apply(const Run& run, const std::vector<HardwarePosition>& positions,
           const std::string& refusal) {
    if (!DisplayApply::applyOriginalsToHardware(positions)) {
        run.step.log("error", refusal);
        return false;
    }
    return !isZigzagNow(run);
}

/// Where the entries put those of their displays that are active.
std::vector<HardwarePosition> activePositions(const Run& run, const Arrangement& entries) {
    std::vector<HardwarePosition> positions;
    for (const OriginalsEntry& entry : entries) {
        const auto active = run.displayIDByCanonicalID.find(entry.uuid);
        if (active != run.displayIDByCanonicalID.end()) {
            positions.push_back(
                {.displayID = active->second, .origin = CGPointMake(entry.x, entry.y)});
        }
    }
    return positions;
}

/// Whether the display can be put there, wherever the main display may be. What a damaged record
/// asks for beyond that would stop the program, and the steps behind this one with it.
bool isPlaceable(const HardwarePosition& position) {
    constexpr double reach = 1 << 30;  // points; the sum of two fits the window server's integers
    return std::abs(position.origin.x) < reach && std::abs(position.origin.y) < reach;
}

/// The displays of their present sizes at new places.
std::vector<DisplayFrame> plannedFrames(const std::vector<HardwarePosition>& positions) {
    std::vector<DisplayFrame> frames;
    for (const HardwarePosition& position : positions) {
        const CGSize size = CGDisplayBounds(position.displayID).size;
        addFrame(frames, position.displayID, {position.origin, size});
    }
    return frames;
}

/// Tries a saved arrangement, unless none of its displays is active, it cannot be, or it is itself
/// a zigzag.
/// @param label what the log calls it
bool tryApplyCandidate(const Run& run, const Arrangement& entries, const std::string& label) {
    const std::vector<HardwarePosition> positions = activePositions(run, entries);
    if (positions.empty()) {
        return false;
    }
    if (positions.size() > positionLimit) {
        run.step.log("warn", "candidate " + label + " has " + std::to_string(positions.size()) +
                                 " positions, skipping");
        return false;
    }
    if (!std::ranges::all_of(positions, isPlaceable)) {
        run.step.log("warn", "candidate " + label + " lies off every desktop, skipping");
        return false;
    }
    if (Zigzag::isZigzag(plannedFrames(positions))) {
        run.step.log("warn", "candidate " + label + " is itself zigzag, skipping");
        return false;
    }
    return apply(run, positions, "CG configure rejected for " + label);
}

/// Tries to put the displays into one row. Only for a full zigzag: any other layout may be in part
/// the user's own, and a made-up row would destroy that.
bool tryStackedFallback(const Run& run) {
    const std::vector<DisplayFrame> frames = currentFrames(run.displays);
    if (!Zigzag::isFullZigzag(frames)) {
        run.step.log("warn",
                     "no saved arrangement was usable, but layout is not a full zigzag; leaving "
                     "hardware unchanged");
        return false;
    }
    const std::vector<HardwarePosition> positions =
        DisplayApply::stackedFallbackPositions(frames, CGMainDisplayID());
    if (positions.empty()) {
        return false;
    }
    run.step.log("warn", "applying stacked fallback because no saved arrangement was usable");
    return apply(run, positions, "CG configure rejected stacked fallback");
}

// The ways to repair the layout. Each returns what the log is to say of its success, or none.

std::optional<std::string> restoreExact(const Run& run, const Arrangements& arrangements) {
    const auto exact = arrangements.find(run.signature);
    if (exact == arrangements.end() ||
        !tryApplyCandidate(run, exact->second, "sig=" + run.signature)) {
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
        if (tryApplyCandidate(run, *subset.entries, "subset(" + size + ")")) {
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
    if (!Zigzag::isFullZigzag(currentFrames(presentDisplays(run)))) {
        run.step.log("warn",
                     "layout is corner-only but not a full zigzag (ambiguous); skipping superset "
                     "projection");
        return std::nullopt;
    }
    const std::vector<Arrangement> projections =
        OriginalsProjection::projectedSupersetArrangements(arrangements, activeUUIDs(run));
    for (std::size_t i = 0; i < projections.size(); ++i) {
        if (tryApplyCandidate(run, projections[i],
                              "superset-projection[" + std::to_string(i) + "]")) {
            return "superset-projection-restored for sig=" + run.signature;
        }
    }
    return std::nullopt;
}

std::optional<std::string> restoreStacked(const Run& run, const Arrangements&) {
    if (!tryStackedFallback(run)) {
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

Origins currentOrigins(const Run& run) {
    Origins origins;
    for (const auto& [uuid, display] : run.displayIDByCanonicalID) {
        origins[uuid] = CGDisplayBounds(display).origin;
    }
    return origins;
}

bool isMainAppLayout(const Run& run) {
    // All three are asked, so that each tells of what it finds.
    const bool zigzag = isZigzagNow(run);
    const Origins origins = currentOrigins(run);
    const bool sidePinned = SidePinnedSetsStore::matchesCurrentHardware(
        run.signature, origins, SidePinnedSetsStore::defaultPath());
    const bool nativeMirrored = NativeMirroredSetsStore::matchesCurrentHardware(
        run.signature, origins, NativeMirroredSetsStore::defaultPath());
    return zigzag || sidePinned || nativeMirrored;
}

void clearStaleMarks(const Run& run) {
    // A second look: a display or a file that could not be read the first time must not cost a mark
    // that is all that tells of the main application's layout.
    const Origins origins = currentOrigins(run);
    for (const MarkStore& store : markStores) {
        if (!store.isStale(run.signature, origins, store.path())) {
            continue;
        }
        if (Zigzag::isZigzag(currentFrames(run.displays))) {
            return;
        }
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
