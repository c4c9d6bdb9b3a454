// The set marks: which sets of displays the main application has put into a layout that only it
// makes and that is not a zigzag. Three stores, each a small file by signature:
//
//   SeparatedSetsStore       sets that it has separated; the signatures alone
//   SidePinnedSetsStore      the side-pinned layouts that it planned or made for a set
//   NativeMirroredSetsStore  the native-mirrored layouts that it planned or made for a set
//
// The main application marks; the arrangement invariant recognises its layouts by the marks and
// clears them. SetMarks holds what differs between the stores; everything else is common:
//
// Every operation takes the file's path last and reads the file afresh. Nothing throws, except
// std::bad_alloc if memory runs out. Main thread only. Two processes may change a store at the same
// time; the changes of both are kept. Marking what is marked already leaves the file alone, but
// still keeps a helper that read it earlier from clearing the mark.
//
// A missing file is an empty store. A file that does not decode or has another version counts as
// empty, stays until the next change replaces it, and is reported through RestoreLog.warn:
// "separated-sets file wrong version/unparseable, treating as empty". A change replaces the file,
// creating its directory; a failure leaves the old file and is reported the same way:
// "Failed to encode separated-sets file", or "Failed to write separated-sets file: " and the error.
// The other two stores say "side-pinned-sets" and "native-mirrored-sets" in these lines.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "restore/arrangement/originals_store.hpp"

namespace tolvaran {

/// What differs between the stores.
struct SetMarks {
    const char* kind;      // as in "side-pinned"; the file and every log line are named after it
    std::int64_t version;  // the only accepted one
};
inline constexpr SetMarks separatedSets{.kind = "separated", .version = 1};
inline constexpr SetMarks sidePinnedSets{.kind = "side-pinned", .version = 2};
inline constexpr SetMarks nativeMirroredSets{.kind = "native-mirrored", .version = 1};

/// The file of SeparatedSetsStore.
struct SeparatedSetsFile {
    std::int64_t version = separatedSets.version;
    std::vector<std::string> signatures;  // in the order in which they were marked, each once

    bool operator==(const SeparatedSetsFile&) const = default;
};

/// Where the displays of a set are in one layout.
using MarkedLayout = std::vector<OriginalsEntry>;

/// The file of a store of layouts.
template <std::int64_t currentVersion>
struct LayoutSetsFile {
    std::int64_t version = currentVersion;
    // By signature, the layouts in the order in which they were marked.
    std::map<std::string, std::vector<MarkedLayout>> arrangements;

    bool operator==(const LayoutSetsFile&) const = default;
};
using SidePinnedSetsFile = LayoutSetsFile<sidePinnedSets.version>;
using NativeMirroredSetsFile = LayoutSetsFile<nativeMirroredSets.version>;

namespace SeparatedSetsStore {

inline constexpr std::int64_t fileVersion = separatedSets.version;

/// "separated-sets.json" in the state directory.
std::string defaultPath();

/// The marked signatures, in the order in which they were marked.
std::vector<std::string> signatures(const std::string& path);

/// Adds the signature, unless it is empty or there already.
void markSeparated(const std::string& signature, const std::string& path);

/// Removes the signature; rewrites the file only if it was there.
void clearSeparated(const std::string& signature, const std::string& path);

/// Renames displays in every signature: each ID that is a key of `mapping` becomes its value. A
/// display named twice counts once; if two signatures become equal, the first stays. If this
/// changed anything, saves and logs through RestoreLog.info
/// "Migrated separated-set signatures: " and the mapping. An empty mapping reads no file.
void migrateCanonicalIDs(const std::map<std::string, std::string>& mapping,
                         const std::string& path);

}  // namespace SeparatedSetsStore

/// What one reading of a store of layouts shows about a set of displays.
struct MarkFinding {
    bool isMarked = false;   // whether any layout is marked for them
    bool isInForce = false;  // whether they are in one of these layouts
};

/// The operations of both stores of layouts, `marks` saying which. SidePinnedSetsStore and
/// NativeMirroredSetsStore offer them under their own names.
namespace LayoutSets {

/// How far, in points, a display may be from its place in a marked layout.
inline constexpr double matchTolerance = 2.0;

/// The kind and "-sets.json", such as "side-pinned-sets.json", in the state directory.
std::string defaultPath(const SetMarks& marks);

/// By signature, the layouts marked for it.
std::map<std::string, std::vector<MarkedLayout>> load(const SetMarks& marks,
                                                      const std::string& path);

/// The marked signatures, in ascending order.
std::vector<std::string> signatures(const SetMarks& marks, const std::string& path);

/// The layouts marked for the signature; empty if there are none.
std::vector<MarkedLayout> candidates(const SetMarks& marks, const std::string& signature,
                                     const std::string& path);

/// Adds a layout that is about to be made, so that it is recognised even after a crash halfway.
/// Does nothing if the signature or the layout is empty, or the layout is there already.
void premark(const SetMarks& marks, const std::string& signature,
             const MarkedLayout& plannedEntries, const std::string& path);

/// Makes this the signature's only layout, in place of what was premarked. Does nothing if the
/// signature or the layout is empty.
void mark(const SetMarks& marks, const std::string& signature, const MarkedLayout& entries,
          const std::string& path);

/// Makes these the signature's layouts; if there are none, removes the signature. Does nothing if
/// the signature is empty, or is to be removed and not there.
void restoreCandidates(const SetMarks& marks, const std::string& signature,
                       const std::vector<MarkedLayout>& candidates, const std::string& path);

/// Removes the signature; rewrites the file only if it was there.
void clear(const SetMarks& marks, const std::string& signature, const std::string& path);

/// Renames displays in every signature and every layout: each ID that is a key of `mapping` becomes
/// its value. If two entries of a layout then share an ID, or two signatures become equal, the
/// first stays. If this changed anything, saves and logs through RestoreLog.info, as in
/// "Migrated side-pinned-set signatures: " and the mapping. An empty mapping reads no file.
void migrateCanonicalIDs(const SetMarks& marks, const std::map<std::string, std::string>& mapping,
                         const std::string& path);

/// Reads the file once. The displays are in a layout if each display that the layout names is
/// present, at most `matchTolerance` from its place in x and in y. An empty layout matches nothing.
/// @param currentOriginsByUUID origins by canonical ID, in global display coordinates, points
MarkFinding find(const SetMarks& marks, const std::string& signature,
                 const std::map<std::string, CGPoint>& currentOriginsByUUID,
                 const std::string& path);

}  // namespace LayoutSets

namespace SidePinnedSetsStore {

inline constexpr std::int64_t fileVersion = sidePinnedSets.version;
inline constexpr double matchTolerance = LayoutSets::matchTolerance;

inline std::string defaultPath() {
    return LayoutSets::defaultPath(sidePinnedSets);
}

inline SidePinnedSetsFile load(const std::string& path) {
    return {.arrangements = LayoutSets::load(sidePinnedSets, path)};
}

inline std::vector<std::string> signatures(const std::string& path) {
    return LayoutSets::signatures(sidePinnedSets, path);
}

inline std::vector<MarkedLayout> candidates(const std::string& signature, const std::string& path) {
    return LayoutSets::candidates(sidePinnedSets, signature, path);
}

inline void premarkSidePinned(const std::string& signature, const MarkedLayout& plannedEntries,
                              const std::string& path) {
    LayoutSets::premark(sidePinnedSets, signature, plannedEntries, path);
}

inline void markSidePinned(const std::string& signature, const MarkedLayout& entries,
                           const std::string& path) {
    LayoutSets::mark(sidePinnedSets, signature, entries, path);
}

inline void restoreCandidates(const std::string& signature,
                              const std::vector<MarkedLayout>& candidates,
                              const std::string& path) {
    LayoutSets::restoreCandidates(sidePinnedSets, signature, candidates, path);
}

inline void clearSidePinned(const std::string& signature, const std::string& path) {
    LayoutSets::clear(sidePinnedSets, signature, path);
}

inline void migrateCanonicalIDs(const std::map<std::string, std::string>& mapping,
                                const std::string& path) {
    LayoutSets::migrateCanonicalIDs(sidePinnedSets, mapping, path);
}

/// Whether the displays are now in a layout marked for the signature, as LayoutSets::find() says.
inline bool matchesCurrentHardware(const std::string& signature,
                                   const std::map<std::string, CGPoint>& currentOriginsByUUID,
                                   const std::string& path) {
    return LayoutSets::find(sidePinnedSets, signature, currentOriginsByUUID, path).isInForce;
}

}  // namespace SidePinnedSetsStore

namespace NativeMirroredSetsStore {

inline constexpr std::int64_t fileVersion = nativeMirroredSets.version;
inline constexpr double matchTolerance = LayoutSets::matchTolerance;

inline std::string defaultPath() {
    return LayoutSets::defaultPath(nativeMirroredSets);
}

inline NativeMirroredSetsFile load(const std::string& path) {
    return {.arrangements = LayoutSets::load(nativeMirroredSets, path)};
}

inline std::vector<std::string> signatures(const std::string& path) {
    return LayoutSets::signatures(nativeMirroredSets, path);
}

inline std::vector<MarkedLayout> candidates(const std::string& signature, const std::string& path) {
    return LayoutSets::candidates(nativeMirroredSets, signature, path);
}

inline void premarkNativeMirrored(const std::string& signature, const MarkedLayout& plannedEntries,
                                  const std::string& path) {
    LayoutSets::premark(nativeMirroredSets, signature, plannedEntries, path);
}

inline void markNativeMirrored(const std::string& signature, const MarkedLayout& entries,
                               const std::string& path) {
    LayoutSets::mark(nativeMirroredSets, signature, entries, path);
}

inline void restoreCandidates(const std::string& signature,
                              const std::vector<MarkedLayout>& candidates,
                              const std::string& path) {
    LayoutSets::restoreCandidates(nativeMirroredSets, signature, candidates, path);
}

inline void clearNativeMirrored(const std::string& signature, const std::string& path) {
    LayoutSets::clear(nativeMirroredSets, signature, path);
}

inline void migrateCanonicalIDs(const std::map<std::string, std::string>& mapping,
                                const std::string& path) {
    LayoutSets::migrateCanonicalIDs(nativeMirroredSets, mapping, path);
}

/// Whether the displays are now in a layout marked for the signature, as LayoutSets::find() says.
inline bool matchesCurrentHardware(const std::string& signature,
                                   const std::map<std::string, CGPoint>& currentOriginsByUUID,
                                   const std::string& path) {
    return LayoutSets::find(nativeMirroredSets, signature, currentOriginsByUUID, path).isInForce;
}

}  // namespace NativeMirroredSetsStore

}  // namespace tolvaran
