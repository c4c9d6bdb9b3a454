// The modes that displays had before the main application changed them, in a file of their own. The
// main application records and clears them; the restore reads them and clears each one that it has
// put back. Both may do so at the same time: recordIfAbsent() and clear() change what the file
// holds at that moment, so neither process's changes are lost. save() replaces all of it. Nothing
// here throws, except std::bad_alloc if memory runs out; the file is then as it was. Main thread
// only.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "restore/modes/display_mode_spec.hpp"

namespace tolvaran {

/// The content of the file.
struct ResolutionOriginalsFile {
    std::int64_t version = 1;                        // any other value makes the file unusable
    std::map<std::string, DisplayModeSpec> entries;  // canonical display ID → its original mode

    bool operator==(const ResolutionOriginalsFile&) const = default;
};

namespace ResolutionOriginalsStore {

inline constexpr std::int64_t fileVersion = 1;

/// ".resolution-originals" in the state directory.
std::string defaultPath();

/// What the file holds; entries that no display could have (DisplayModeSpec::isValid) are dropped
/// silently. Empty if there is no readable file or, after logging through RestoreLog.warn
/// "resolution originals file missing/wrong version/unparseable, starting fresh", if it cannot be
/// used. The file itself is left alone.
ResolutionOriginalsFile load(const std::string& path);

/// Writes the file, or removes it if there are no entries. On failure, logs through RestoreLog.warn
/// "Failed to encode resolution originals file", or "Failed to write resolution originals file: "
/// and the error; the file is then left as it was. A failed removal is silent.
void save(const ResolutionOriginalsFile& file, const std::string& path);

/// Adds an entry, unless the display has one: the first one recorded is the true original. A helper
/// that is putting that mode back at this moment keeps the entry. Logs as load() and save() do.
/// @param spec the entry of pendingEntries() if there is one, else the mode that the display shows,
///             which after a crash is not the user's until a helper has run
void recordIfAbsent(const std::string& uuid, const DisplayModeSpec& spec, const std::string& path);

/// Removes an entry, and with the last one the file; writes nothing if there is no such entry. Logs
/// as load() and save() do.
void clear(const std::string& uuid, const std::string& path);

/// The entries of load().
std::map<std::string, DisplayModeSpec> pendingEntries(const std::string& path);

}  // namespace ResolutionOriginalsStore
}  // namespace tolvaran
