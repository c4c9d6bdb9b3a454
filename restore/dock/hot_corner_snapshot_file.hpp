// The file that holds the hot-corner snapshot while the corners are suppressed. It is what a crash
// leaves behind: the helper restores from it. Used by the leases and the restore step. Main thread
// only.
//
// The helper may be restoring from the file while the main application uses it. Loading sees a
// whole snapshot or none. What saveSnapshotOrThrow() has saved, or ensureSnapshotOrThrow() has kept
// for suppressing, is not removed by a restore that began before. saveSnapshotOrThrow() and
// deleteSnapshot() do not look at what is in the file: of two processes that save at once one
// prevails. DockHotCornerOverride::enter() and exit() take care of all this.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::DockHotCornerOverride {

/// Why the corners could not be suppressed; what() is one of the texts below.
class OverrideError : public std::runtime_error {
  public:
    enum class Case {
        syncFailed,         // the Dock did not take the suppression
        persistenceFailed,  // no snapshot could be saved, so a crash could not be repaired
    };

    /// "could not sync com.apple.dock prefs after writing wvous-*-corner"
    static OverrideError syncFailed();
    /// "could not persist hot-corner snapshot: " and the reason
    static OverrideError persistenceFailed(const std::string& reason);

    Case which() const { return which_; }
    /// The reason given to persistenceFailed(), empty for syncFailed().
    const std::string& reason() const { return reason_; }

  private:
    OverrideError(Case which, const std::string& description, std::string reason);

    Case which_;
    std::string reason_;
};

/// "hot-corners-snapshot.json" in the state directory.
std::string defaultSnapshotPath();

/// Writes the snapshot, creating the directory.
/// @throws OverrideError persistenceFailed, with the reason "encode: " and what is wrong with the
///         snapshot, or "write " + path + ": " and the error of the directory or the file. The file
///         is then left as it was.
void saveSnapshotOrThrow(const DockHotCornerSnapshot& snapshot, const std::string& path);

/// Writes the snapshot as saveSnapshotOrThrow() does; every failure is ignored.
void saveSnapshot(const DockHotCornerSnapshot& snapshot, const std::string& path);

/// What a snapshot is kept for.
enum class Purpose {
    suppressing,  // to switch the corners off; they are later put back from it
    restoring,    // to put the corners back from it
};

/// Writes the snapshot unless the file holds it already. Otherwise the content stays; with
/// Purpose::suppressing, a process that has read the file before will not remove it. Logs as
/// loadSnapshot() does.
/// @throws OverrideError as saveSnapshotOrThrow() does
void ensureSnapshotOrThrow(const DockHotCornerSnapshot& snapshot, const std::string& path,
                           Purpose purpose);

/// The snapshot in the file; none if there is no readable file, or if it does not decode, after
/// logging through RestoreLog.warn "hot-corner snapshot at " + path + " failed to decode: " and
/// why.
std::optional<DockHotCornerSnapshot> loadSnapshot(const std::string& path);

/// Removes the file; failures are ignored.
void deleteSnapshot(const std::string& path);

/// Whether a file exists at the path; its content is not examined.
bool isPending(const std::string& path);

}  // namespace tolvaran::DockHotCornerOverride
