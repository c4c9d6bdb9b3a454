// The set marks: which sets of displays the main application has put into a layout that only it
// makes and that is not a zigzag. Three stores, each a small file by signature:
//
//   SeparatedSetsStore       sets that it has separated; the signatures alone
//   SidePinnedSetsStore      the side-pinned layouts that it planned or made for a set
//   NativeMirroredSetsStore  the native-mirrored layouts that it planned or made for a set
//
// The main application marks; the arrangement invariant recognises its layouts by the marks and
// clears them. All three follow one rule, which is told once:
//
// Every operation takes the file's path last and works on fresh content; nothing throws but
// std::bad_alloc if memory runs out. Two processes may change a store at the same time, and the
// changes of both are kept. A mark that is already there when it is made again stays, too, though a
// helper that has read it before may be about to clear it. A missing
// file is an empty store. A file that does not decode or has another version counts as empty, stays
// until the next change replaces it, and is reported through RestoreLog.warn:
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

/// What a store of set marks is called and which file format it has; all else is the same.
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

/// Where the displays of a set stand in one layout.
using MarkedLayout = std::vector<OriginalsEntry>;

/// The file of a store of layouts.
template <const SetMarks& marks>
struct LayoutSetsFile {
    std::int64_t version = marks.version;
    // By signature, the layouts in the order in which they were marked.
    std::map<std::string, std::vector<MarkedLayout>> arrangements;

    bool operator==(const LayoutSetsFile&) const = default;
};
using SidePinnedSetsFile = LayoutSetsFile<sidePinnedSets>;
using NativeMirroredSetsFile = LayoutSetsFile<nativeMirroredSets>;

namespace SeparatedSetsStore {

inline constexpr std::int64_t fileVersion = separatedSets.version;

/// "separated-sets.json" in the state directory.
std::string defaultPath();

/// The marked signatures, in the order in which they were marked.
std::vector<std::string> signatures(const std::string& path);

/// Adds the signature, unless it is empty or there already.
void markSeparated(const std::string& signature, const std::string& path);

/// Removes the signature; the file is rewritten only when it was there.
void clearSeparated(const std::string& signature, const std::string& path);

/// Renames displays in every signature: each ID that is a key of `mapping` becomes its value. A
/// display named twice counts once, and of signatures that then are equal the first stays. When
/// that changed anything, saves and logs through RestoreLog.info
/// "Migrated separated-set signatures: " and the mapping. An empty mapping reads no file.
void migrateCanonicalIDs(const std::map<std::string, std::string>& mapping,
                         const std::string& path);

}  // namespace SeparatedSetsStore

/// What one reading of a store of layouts shows about a set of displays.
struct MarkFinding {
    bool isMarked = false;   // whether any layout is marked for them
    bool isInForce = false;  // whether they stand in one of these
};

/// The operations of a store of layouts, which SidePinnedSetsStore and NativeMirroredSetsStore
/// offer under their own names.
template <const SetMarks& marks>
struct LayoutSetsStore {
    using File = LayoutSetsFile<marks>;

    /// The kind and "-sets.json", such as "side-pinned-sets.json", in the state directory.
    static std::string defaultPath();

    /// The store in the file, or an empty one.
    static File load(const std::string& path);

    /// The marked signatures, in ascending order.
    static std::vector<std::string> signatures(const std::string& path);

    /// The layouts marked for the signature; empty if there are none.
    static std::vector<MarkedLayout> candidates(const std::string& signature,
                                                const std::string& path);

    /// Adds a layout that is about to be made, so that it is recognised even after a crash halfway.
    /// Does nothing when the signature or the layout is empty, or the layout is there already.
    static void premark(const std::string& signature, const MarkedLayout& plannedEntries,
                        const std::string& path);

    /// Makes this the signature's only layout, in place of what was premarked. Does nothing when
    /// the signature or the layout is empty.
    static void mark(const std::string& signature, const MarkedLayout& entries,
                     const std::string& path);

    /// Makes these the signature's layouts; if there are none, removes the signature. Does
    /// nothing when the signature is empty, or is to be removed and not there.
    static void restoreCandidates(const std::string& signature,
                                  const std::vector<MarkedLayout>& candidates,
                                  const std::string& path);

    /// Removes the signature; the file is rewritten only when it was there.
    static void clear(const std::string& signature, const std::string& path);

    /// Renames displays in every signature and every layout: each ID that is a key of `mapping`
    /// becomes its value. Of entries of a layout that then share an ID, and of signatures that then
    /// are equal, the first stays. When that changed anything, saves and logs through
    /// RestoreLog.info, as in "Migrated side-pinned-set signatures: " and the mapping. An empty
    /// mapping reads no file.
    static void migrateCanonicalIDs(const std::map<std::string, std::string>& mapping,
                                    const std::string& path);

    /// Reads the file once. The displays stand in a layout if each display that the layout names is
    /// present, at most `matchTolerance` from its place in x and in y. An empty layout matches
    /// nothing.
    /// @param currentOriginsByUUID origins by canonical ID, in global display coordinates, points
    static MarkFinding find(const std::string& signature,
                            const std::map<std::string, CGPoint>& currentOriginsByUUID,
                            const std::string& path);

    /// Whether the displays now stand in a layout marked for the signature, as find() says.
    static bool matchesCurrentHardware(const std::string& signature,
                                       const std::map<std::string, CGPoint>& currentOriginsByUUID,
                                       const std::string& path);
};

/// How far, in points, a display may stand from its place in a marked layout.
inline constexpr double layoutMatchTolerance = 2.0;

namespace SidePinnedSetsStore {

using Operations = LayoutSetsStore<sidePinnedSets>;
inline constexpr std::int64_t fileVersion = sidePinnedSets.version;
inline constexpr double matchTolerance = layoutMatchTolerance;
inline constexpr auto& defaultPath = Operations::defaultPath;
inline constexpr auto& load = Operations::load;
inline constexpr auto& signatures = Operations::signatures;
inline constexpr auto& candidates = Operations::candidates;
inline constexpr auto& premarkSidePinned = Operations::premark;
inline constexpr auto& markSidePinned = Operations::mark;
inline constexpr auto& restoreCandidates = Operations::restoreCandidates;
inline constexpr auto& clearSidePinned = Operations::clear;
inline constexpr auto& migrateCanonicalIDs = Operations::migrateCanonicalIDs;
inline constexpr auto& matchesCurrentHardware = Operations::matchesCurrentHardware;
inline constexpr auto& find = Operations::find;

}  // namespace SidePinnedSetsStore

namespace NativeMirroredSetsStore {

using Operations = LayoutSetsStore<nativeMirroredSets>;
inline constexpr std::int64_t fileVersion = nativeMirroredSets.version;
inline constexpr double matchTolerance = layoutMatchTolerance;
inline constexpr auto& defaultPath = Operations::defaultPath;
inline constexpr auto& load = Operations::load;
inline constexpr auto& signatures = Operations::signatures;
inline constexpr auto& candidates = Operations::candidates;
inline constexpr auto& premarkNativeMirrored = Operations::premark;
inline constexpr auto& markNativeMirrored = Operations::mark;
inline constexpr auto& restoreCandidates = Operations::restoreCandidates;
inline constexpr auto& clearNativeMirrored = Operations::clear;
inline constexpr auto& migrateCanonicalIDs = Operations::migrateCanonicalIDs;
inline constexpr auto& matchesCurrentHardware = Operations::matchesCurrentHardware;
inline constexpr auto& find = Operations::find;

}  // namespace NativeMirroredSetsStore
}  // namespace tolvaran
