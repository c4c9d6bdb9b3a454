// Puts saved display modes back. Used by the helper's resolution step while the main application is
// not running. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <string>

namespace tolvaran::ResolutionRestore {

/// Puts back the recorded mode of every display in the map, and removes its record. If a display
/// already shows its recorded mode, its record is removed silently; if it is not in the map, its
/// record stays silently. A mode that the window server refuses within a configuration counts as
/// applied (DisplayModeControl::apply()).
///
/// In these lines KEY is the record's key, and MODE what DisplayModeSpec::displayString() returns.
/// Logs through RestoreLog.info "resolution restore: KEY -> MODE" after every success. If a record
/// stays for the next run, a line says why:
/// - through RestoreLog.warn, if the display has no such mode: "resolution restore: no exact mode
///   MODE for KEY; keeping entry"
/// - through RestoreLog.warn, if the display configuration could not be begun or completed:
///   "resolution restore: apply failed for KEY MODE; keeping entry"
/// - through RestoreLog.info, before or after the change: "resolution restore: the records were
///   changed by another process meanwhile; keeping entry for KEY"
///
/// Also logs what ResolutionOriginalsStore logs.
/// @param idByCanonicalUUID the displays to consider, by canonical display ID
/// @param path the file of records (see ResolutionOriginalsStore)
/// @return how many modes were applied
std::int64_t restorePending(const std::map<std::string, CGDirectDisplayID>& idByCanonicalUUID,
                            const std::string& path);

/// Puts back the modes of the first 16 active displays, as restorePending() does; of several with
/// the same canonical ID the last one listed counts. Logs, before the lines above, what
/// AliasMap::load() logs and what displayUUID() logs about identical monitors. Without records it
/// asks the window server nothing.
std::int64_t restorePendingUsingSystemDisplays(const std::string& path);

}  // namespace tolvaran::ResolutionRestore
