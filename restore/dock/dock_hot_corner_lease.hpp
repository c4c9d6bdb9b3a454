// Who may suppress the hot corners, and what happened when one of them stopped doing so. Used by
// DockHotCornerOverride and its callers in the main application.
#pragma once

#include <array>
#include <string>

namespace tolvaran {

/// The features of the main application that suppress the hot corners while they are active.
enum class DockHotCornerLeaseOwner { gameMode, customHotCorners, displayTransition };

/// Every owner, in order.
inline constexpr std::array allDockHotCornerLeaseOwners = {
    DockHotCornerLeaseOwner::gameMode, DockHotCornerLeaseOwner::customHotCorners,
    DockHotCornerLeaseOwner::displayTransition};

/// The owner's name in leases and messages, such as "gameMode".
std::string rawValue(DockHotCornerLeaseOwner owner);

/// What DockHotCornerOverride::exit() did.
enum class DockHotCornerLeaseExitOutcome {
    restored,                   // the last lease: the snapshot was restored
    suppressionMaintained,      // others remain: the suppression is verified
    noLease,                    // the owner held none; nothing was done
    snapshotUnavailable,        // the last lease, but there is no snapshot in memory or on disk
    restoreFailed,              // the last lease, but restoring failed: the snapshot is kept
    suppressionReassertFailed,  // others remain, but no snapshot could be found or kept on disk, or
                                // the corners could not be suppressed again
    // exit() reports neither of these two.
    snapshotPersistenceFailed,
    dockSyncFailed,
};

/// Whether nothing is left to be repaired: true for the first three.
constexpr bool succeeded(DockHotCornerLeaseExitOutcome outcome) {
    return outcome <= DockHotCornerLeaseExitOutcome::noLease;
}

}  // namespace tolvaran
