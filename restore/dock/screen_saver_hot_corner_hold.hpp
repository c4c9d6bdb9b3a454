// The screen saver's own hot-corner handling, which can be put on hold. A marker file records that
// a hold was requested; the main application begins and ends holds, the helper ends one that a
// crash left behind. Nothing here throws, except std::bad_alloc if memory runs out; a hold that was
// begun then still has its marker. Main thread only.
//
// A marker that another process writes while this one ends a hold stays: it records a newer hold,
// which may have been released together with the older one.
#pragma once

#include <string>

namespace tolvaran::ScreenSaverHotCornerHold {

/// "hot-corner-screen-saver-hold" in the state directory.
std::string defaultMarkerPath();

/// Writes the marker, creating its directory, and then requests the hold: there is never a hold
/// without a marker.
/// @return false, after logging through RestoreLog.warn "screen-saver hot-corner hold marker could
///         not be saved (" the error ")", if the marker could not be written; nothing was requested
///         then
bool begin(const std::string& path);

/// Requests the end of the hold, marker or not, and then removes the marker.
/// @return false, after logging through RestoreLog.warn "screen-saver hot-corner hold marker could
///         not be removed (" the error ")", if a marker could not be removed, or another process
///         has written one meanwhile
bool end(const std::string& path);

/// Calls end(), which may log, if there is a marker. False, without a request, if there is none.
bool recoverIfPending(const std::string& path);

/// Whether a file exists at the path; its content is not examined.
bool isPending(const std::string& path);

}  // namespace tolvaran::ScreenSaverHotCornerHold
