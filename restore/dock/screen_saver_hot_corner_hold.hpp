// The screen saver's own hot-corner handling, which it can be told to hold back. A marker file
// records that a hold was requested; the main application begins and ends holds, the helper ends
// one that a crash left behind. Nothing here throws but std::bad_alloc if memory runs out; the hold
// then has its marker, unless it was not begun.
//
// A marker that another process writes while this one ends a hold stays: it tells of a hold that
// was begun since, which may have been released with the older one.
#pragma once

#include <string>

namespace tolvaran::ScreenSaverHotCornerHold {

/// "hot-corner-screen-saver-hold" in the state directory.
std::string defaultMarkerPath();

/// Writes the marker, creating its directory, and then asks the screen saver to hold back: there is
/// never a hold without a marker.
/// @return false, after logging through RestoreLog.warn "screen-saver hot-corner hold marker could
///         not be saved (" the error ")", when the marker could not be written; nothing was
///         requested then
bool begin(const std::string& path);

/// Asks the screen saver to hold back no longer, in every case, and then removes the marker.
/// @return false, after logging through RestoreLog.warn "screen-saver hot-corner hold marker could
///         not be removed (" the error ")", if there is a marker that could not be removed, or that
///         another process has written meanwhile
bool end(const std::string& path);

/// end() when there is a marker. False, without a request, when there is none.
bool recoverIfPending(const std::string& path);

/// Whether a file exists at the path; its content is not examined.
bool isPending(const std::string& path);

}  // namespace tolvaran::ScreenSaverHotCornerHold
