#include "restore/arrangement/main_application_layout.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <vector>

#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/zigzag.hpp"
#include "restore/support/files.hpp"

namespace tolvaran::MainApplicationLayout {

namespace {

using Origins = std::map<std::string, CGPoint>;

struct MarkStore {
    const char* mark;  // as the log calls it
    std::string (*path)();
    bool (*mayBeStale)(const Look& first);
    /// Whether the signature is marked and the displays are not where the mark says.
    bool (*isStale)(const std::string& signature, const Origins& origins, const std::string& path);
    void (*clear)(const std::string& signature, const std::string& path);
};

/// A separated mark holds no positions, and look() does not look for it.
bool isSeparated(const std::string& signature, const Origins& /*origins*/,
                 const std::string& path) {
    const std::vector<std::string> marked = SeparatedSetsStore::signatures(path);
    return std::ranges::find(marked, signature) != marked.end();
}

bool isOutOfDate(const MarkFinding& found) {
    return found.isMarked && !found.isInForce;
}

/// The native-mirrored store must be last: clear() may leave out the last one.
constexpr std::array<MarkStore, 3> stores{{
    {"separated mark", SeparatedSetsStore::defaultPath, [](const Look&) { return true; },
     isSeparated, SeparatedSetsStore::clearSeparated},
    {"stale side-pin mark", SidePinnedSetsStore::defaultPath,
     [](const Look& first) { return first.isSidePinMarked; },
     [](const std::string& signature, const Origins& origins, const std::string& path) {
         return isOutOfDate(LayoutSets::find(sidePinnedSets, signature, origins, path));
     },
     SidePinnedSetsStore::clearSidePinned},
    {"stale native-mirror mark", NativeMirroredSetsStore::defaultPath,
     [](const Look& first) { return first.isNativeMirrorMarked; },
     [](const std::string& signature, const Origins& origins, const std::string& path) {
         return isOutOfDate(LayoutSets::find(nativeMirroredSets, signature, origins, path));
     },
     NativeMirroredSetsStore::clearNativeMirrored},
}};

bool hasChanged(const MarkStore& store, const CheckLog& log) {
    const bool isLeftAlone = files::isChangedByAnother(store.path());
    if (isLeftAlone) {
        log("debug", files::leftToNextRun(store.path()));
    }
    return isLeftAlone;
}

}  // namespace

Look look(const Hardware& hardware) {
    const bool zigzag = Zigzag::isZigzag(presentFrames(hardware));
    const Origins origins = currentOrigins(hardware);
    const auto find = [&](const SetMarks& marks) {
        return LayoutSets::find(marks, hardware.signature, origins, LayoutSets::defaultPath(marks));
    };
    const MarkFinding sidePinned = find(sidePinnedSets);
    const MarkFinding nativeMirrored = find(nativeMirroredSets);
    return {.isMainAppLayout = zigzag || sidePinned.isInForce || nativeMirrored.isInForce,
            .isSidePinMarked = sidePinned.isMarked,
            .isNativeMirrorMarked = nativeMirrored.isMarked};
}

void clear(Marks marks, const std::string& signature, const CheckLog& log) {
    const std::span<const MarkStore> all = stores;
    for (const MarkStore& store : marks == Marks::all ? all : all.first<2>()) {
        if (!hasChanged(store, log)) {
            store.clear(signature, store.path());
        }
    }
}

void clearStaleMarks(const Hardware& hardware, const Look& first, const CheckLog& log) {
    const Origins origins = currentOrigins(hardware);
    for (const MarkStore& store : stores) {
        if (!store.mayBeStale(first) || !store.isStale(hardware.signature, origins, store.path()) ||
            hasChanged(store, log)) {
            continue;
        }
        if (Zigzag::isZigzag(currentFrames(hardware.displays))) {
            return;
        }
        store.clear(hardware.signature, store.path());
        log("info",
            std::string("cleared ") + store.mark + " for healthy sig=" + hardware.signature);
    }
}

}  // namespace tolvaran::MainApplicationLayout
