// Suppresses the four hot corners by leases. The first lease takes a snapshot of the user's
// corners, saves it and switches the corners off; further leases make sure that they are off; the
// release of the last one puts the snapshot back and removes it. Leases live in memory and die with
// the process; the snapshot's file stays, and the helper restores from it.
//
// One rule comes first: the user's real corners are either in effect or in a snapshot in memory or
// on disk, and a snapshot of suppressed corners never replaces that one.
//
// Every operation takes the snapshot's path and the preference domain; production code passes
// defaultSnapshotPath() and dockAppID. This header is the whole interface: snapshot file, control
// of the corners, leases. Main thread only.
//
// The helper may be restoring from the same file when the main application starts to suppress. The
// snapshot that enter() returns is then in the file and stays there, though the helper may still
// switch the corners on; the next enter() switches them off again. An operation neither replaces
// nor removes a snapshot that another process has written since the operation began.
//
// Any operation may throw std::bad_alloc if memory runs out; its promises about other failures then
// hold too.
#pragma once

#include <optional>
#include <string>

#include "restore/dock/dock_hot_corner_lease.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/dock/hot_corner_control.hpp"
#include "restore/dock/hot_corner_snapshot_file.hpp"

namespace tolvaran::DockHotCornerOverride {

/// Takes a lease, or renews the one that the owner holds. First restores a snapshot that is still
/// pending from an earlier suppression.
///
/// Logs through RestoreLog.warn "hot-corner enter: pending snapshot at " + path + " could not be
/// restored (corrupt file or Dock sync failed); refusing to overwrite with fresh snapshot".
///
/// Logs through RestoreLog.info, if a first lease fails and another process has written a snapshot
/// meanwhile, "hot-corner enter: snapshot at " + path + " was changed by another process meanwhile
/// and is left alone".
///
/// Also logs what restoreIfPending(), loadSnapshot(), writeDisabled() and restore() log.
/// @return the snapshot that will be restored when the last lease ends
/// @throws OverrideError, with the reasons of saveSnapshotOrThrow() and, if leases are held but
///         their snapshot is lost, "active gameMode lease has no persisted snapshot" (or another
///         owner's) or "active hot-corner leases have no persisted snapshot". A first lease that
///         fails, even by running out of memory, leaves the corners restored, or the snapshot in
///         place for a later recovery; no lease was added.
DockHotCornerSnapshot enter(DockHotCornerLeaseOwner owner, const std::string& path,
                            const std::string& appID);

/// Releases the owner's lease, whatever else fails. If it was the last one, restores the snapshot
/// and removes its file; if others remain, makes sure that the corners are off.
///
/// Logs through RestoreLog.warn:
/// - "hot-corner release could not re-persist its recovery snapshot: " + error
/// - for the last lease: "hot-corner release found no recoverable snapshot for the final owner", or
///   "hot-corner exit: CFPreferencesAppSynchronize failed; snapshot kept at " + path + " for
///   retry", whatever made the restore fail
/// - for another: "hot-corner release found no recoverable snapshot while other owners remain" or
///   "hot-corner release could not refresh native suppression while other owners remain"
///
/// Logs through RestoreLog.info "hot-corner exit: snapshot at " + path + " was changed by another
/// process meanwhile and is left alone".
///
/// Also logs what loadSnapshot(), writeDisabled() and restore() log.
DockHotCornerLeaseExitOutcome exit(DockHotCornerLeaseOwner owner, const std::string& path,
                                   const std::string& appID);

/// Restores what a terminated process or a failed exit() has left, and removes the snapshot. Keeps
/// a snapshot that cannot be restored, or that another process has changed meanwhile.
///
/// Logs through RestoreLog.warn:
/// - "hot-corner restoreIfPending refused while suppression leases remain active"; nothing is done
/// - "hot-corner restoreIfPending could not re-persist its recovery snapshot: " + error
/// - "hot-corner restoreIfPending: CFPreferencesAppSynchronize failed; snapshot kept at " + path +
///   " for retry"
///
/// Logs through RestoreLog.info "hot-corner restoreIfPending: snapshot at " + path + " was changed
/// by another process meanwhile and is left alone".
///
/// Also logs what loadSnapshot() and restore() log.
/// @return true only if a snapshot was restored and its file removed
bool restoreIfPending(const std::string& path, const std::string& appID);

/// The snapshot in memory, else the one in the file. Logs what loadSnapshot() logs.
std::optional<DockHotCornerSnapshot> recoverableSnapshot(const std::string& path);

/// Whether the corners may still be suppressed: a snapshot is in memory, or a file exists at the
/// path, or the file system cannot say.
bool hasRecoveryState(const std::string& path);

/// Whether any owner holds a lease.
bool isActive();

/// Whether this owner holds a lease.
bool isHeld(DockHotCornerLeaseOwner owner);

}  // namespace tolvaran::DockHotCornerOverride
