// Suppression of the four hot corners by leases. The first lease takes a snapshot of the user's
// corners, saves it and switches the corners off; further leases see to it that they are off; the
// release of the last one puts the snapshot back and removes it. Leases live in memory and die with
// the process; the snapshot's file stays, and the helper restores from it.
//
// One rule stands above the others: the user's real corners are in force, or in a snapshot in
// memory or on disk, and a snapshot of suppressed corners never takes that one's place.
//
// Every operation takes the snapshot's path and the preference domain; production code passes
// defaultSnapshotPath() and dockAppID. All of them must be called from one thread at a time.
// This header is the whole interface: snapshot file, control of the corners, leases.
//
// The helper may be restoring from the same file when the main application starts to suppress. What
// enter() has returned is then in the file and stays there, though the helper may still switch the
// corners on: the next enter() of an owner switches them off again. A snapshot that another process
// has written since an operation began is neither replaced nor removed by it.
//
// Any operation may throw std::bad_alloc if memory runs out; what it says of other failures holds
// then, too.
#pragma once

#include <optional>
#include <string>

#include "restore/dock/dock_hot_corner_lease.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/dock/hot_corner_control.hpp"
#include "restore/dock/hot_corner_snapshot_file.hpp"

namespace tolvaran::DockHotCornerOverride {

/// Takes a lease, or renews the one that the owner holds. A snapshot that is still pending from an
/// earlier suppression is restored first.
/// Logs through RestoreLog.warn "hot-corner enter: pending snapshot at " + path + " could not be
/// restored (corrupt file or Dock sync failed); refusing to overwrite with fresh snapshot".
/// @return the snapshot that will be restored in the end
/// @throws OverrideError. A first lease, also one that runs out of memory, then leaves the corners
///         restored, or the snapshot in place for a later recovery; no lease was added.
DockHotCornerSnapshot enter(DockHotCornerLeaseOwner owner, const std::string& path,
                            const std::string& appID);

/// Gives the owner's lease back, whatever else succeeds; restores the snapshot and removes its file
/// when it was the last lease, and sees to the suppression when others remain.
///
/// Logs through RestoreLog.warn:
/// - "hot-corner release could not re-persist its recovery snapshot: " + error
/// - of the last lease: "hot-corner release found no recoverable snapshot for the final owner", or
///   "hot-corner exit: CFPreferencesAppSynchronize failed; snapshot kept at " + path + " for retry"
///   whatever made the restore fail
/// - of another lease: "hot-corner release found no recoverable snapshot while other owners
/// remain",
///   or "hot-corner release could not refresh native suppression while other owners remain"
///
/// Logs through RestoreLog.info "hot-corner exit: snapshot at " + path + " was changed by another
/// process meanwhile and is left alone".
DockHotCornerLeaseExitOutcome exit(DockHotCornerLeaseOwner owner, const std::string& path,
                                   const std::string& appID);

/// Restores what an ended process, or a failed exit, has left, and removes the snapshot. A snapshot
/// that cannot be restored is kept, and so is one that another process has changed meanwhile.
///
/// Logs through RestoreLog.warn:
/// - "hot-corner restoreIfPending refused while suppression leases remain active"; nothing is done
/// - "hot-corner restoreIfPending could not re-persist its recovery snapshot: " + error
/// - "hot-corner restoreIfPending: CFPreferencesAppSynchronize failed; snapshot kept at " + path +
///   " for retry"
///
/// Logs through RestoreLog.info "hot-corner restoreIfPending: snapshot at " + path + " was changed
/// by another process meanwhile and is left alone".
/// @return true only when a snapshot was restored and its file removed
bool restoreIfPending(const std::string& path, const std::string& appID);

/// The snapshot in memory, else the one in the file (see loadSnapshot()).
std::optional<DockHotCornerSnapshot> recoverableSnapshot(const std::string& path);

/// Whether a suppression may not have been undone: a snapshot is in memory, or a file exists at the
/// path or cannot be looked at.
bool hasRecoveryState(const std::string& path);

/// Whether anybody holds a lease.
bool isActive();

/// Whether this owner holds a lease.
bool isHeld(DockHotCornerLeaseOwner owner);

}  // namespace tolvaran::DockHotCornerOverride
