// The Dock's auto-hide while the main application overrides it: a pending marker on disk holds the
// value to put back. The main application marks and clears it; the helper restores from it. Nothing
// here throws, except std::bad_alloc if memory runs out, and a failure to write or remove the
// marker is silent. Main thread only.
//
// A marker that another process writes during restoreIfPending() stays. So markPending() may be
// called at any time, even while a helper is restoring; the helper may then still change the Dock
// once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolvaran::DockAutoHideOverride {

/// The content of the pending marker.
struct Snapshot {
    std::int64_t version = 1;  // any other value makes the marker unusable
    bool restoreTo = false;    // the auto-hide value to put back

    bool operator==(const Snapshot&) const = default;
};

/// "dock-autohide-pending.json" in the state directory.
std::string defaultSnapshotPath();

/// Records that auto-hide must be put back to `restoreTo`, replacing an older marker. Called before
/// the Dock is changed, so that a crash in between is still repaired.
void markPending(bool restoreTo, const std::string& path);

/// The recorded value; none if the file is missing, unreadable, not a valid marker or of another
/// version.
std::optional<bool> pendingRestoreValue(const std::string& path);

/// Whether a file exists at the path; its content is not examined.
bool isPending(const std::string& path);

/// Removes the marker.
void clearPending(const std::string& path);

/// Forces the Dock to the recorded value, whatever the user may have changed since, and removes the
/// marker, even one that cannot be decoded: a bad file must not block later restores. Logs through
/// RestoreLog.info "dock auto-hide restoreIfPending: forced back to true" (or "false") when the
/// Dock had to be changed, and "dock auto-hide restoreIfPending: marker was changed by another
/// process meanwhile and is left alone".
/// @return true only if the Dock had to be changed and the marker was removed
bool restoreIfPending(const std::string& path);

}  // namespace tolvaran::DockAutoHideOverride
