// Puts saved display modes back. Used by the helper's resolution step, whenever the main
// application is not running.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <string>

namespace tolvaran::ResolutionRestore {

/// Puts back the recorded mode of every display that is in the map, and removes its record. A
/// display that shows its recorded mode already only loses the record, silently. A record whose
/// display is not in the map stays, silently; it also stays, after a line through RestoreLog.warn,
/// when the display has no such mode ("resolution restore: no exact mode …; keeping entry") or the
/// display configuration could not be begun or completed ("resolution restore: apply failed for …;
/// keeping entry"), and the next run tries again. A mode that the window server refuses in between
/// counts as applied (DisplayModeControl::apply()). Every success is logged through
/// RestoreLog.info "resolution restore: " and the record's key, " -> " and the mode. What the file
/// of records can log is logged as well.
/// @param idByCanonicalUUID the displays to consider, by canonical display ID
/// @param path the file of records (see ResolutionOriginalsStore)
/// @return how many modes were applied
std::int64_t restorePending(const std::map<std::string, CGDirectDisplayID>& idByCanonicalUUID,
                            const std::string& path);

/// Puts back the modes of the displays that are active now, the first 16 of them, as
/// restorePending() does; of several with one canonical ID the last one listed counts. Logs, before
/// the lines above, what AliasMap::load() logs and what displayUUID() logs of identical monitors.
/// Without records it does not ask the window server anything.
std::int64_t restorePendingUsingSystemDisplays(const std::string& path);

}  // namespace tolvaran::ResolutionRestore
