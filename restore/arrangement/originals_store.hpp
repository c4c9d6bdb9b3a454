// The originals: where the displays stood before the main application moved them, one saved
// arrangement for each set of displays. The main application writes the store; the arrangement
// invariant puts the displays back from it. Nothing here throws, except std::bad_alloc. Main thread
// only.
//
// The helper only reads the store. saveArrangement() and migrateUUIDs() change what the file holds
// at that moment, so the changes of two processes are both kept. save() replaces the whole file.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tolvaran {

/// One display's saved position.
struct OriginalsEntry {
    std::string uuid;  // canonical display ID
    double x = 0;      // origin in global display coordinates, points
    double y = 0;

    bool operator==(const OriginalsEntry&) const = default;
};

/// The whole store.
struct OriginalsFile {
    std::int64_t version = 2;  // any other value makes the file unusable
    // By signature, one entry for each display of the set. Every writer keeps the signature equal
    // to that of the entries, and the entries' UUIDs distinct.
    std::map<std::string, std::vector<OriginalsEntry>> arrangements;

    bool operator==(const OriginalsFile&) const = default;
};

namespace OriginalsStore {

inline constexpr std::int64_t fileVersion = 2;

/// ".display-originals" in the state directory.
std::string defaultPath();

/// The store in the file; empty if there is no readable file. A file that does not decode or has
/// another version also counts as empty, stays as it is, and is reported through RestoreLog.warn:
/// "originals file missing/wrong version/unparseable, starting fresh".
OriginalsFile load(const std::string& path);

/// Replaces the file, creating its directory. A failure leaves the old file and is reported through
/// RestoreLog.warn: "Failed to encode originals file", or "Failed to write originals file: " and
/// the error.
void save(const OriginalsFile& file, const std::string& path);

/// Saves the arrangement of one set of displays, in place of an earlier one, and leaves all others
/// as they are in the file. Logs as load() and save() do.
/// @param signature that of the entries' UUIDs
void saveArrangement(const std::string& signature, const std::vector<OriginalsEntry>& entries,
                     const std::string& path);

/// Renames displays throughout the store: every UUID that is a key of `mapping` becomes its value.
/// If entries then share a UUID, or arrangements a signature, the first stays (in stored order, and
/// in the order of the old signatures). Arrangements without entries are dropped. If this changed
/// anything, saves and logs through RestoreLog.info "Migrated originals UUIDs: " and the mapping.
/// Also logs as load() and save() do. An empty mapping reads no file.
void migrateUUIDs(const std::map<std::string, std::string>& mapping, const std::string& path);

}  // namespace OriginalsStore
}  // namespace tolvaran
