#include "restore/dock/dock_hot_corner_override.hpp"

#include <new>

#include "restore/dock/hot_corner_lease_state.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran::DockHotCornerOverride {
namespace {

using Outcome = DockHotCornerLeaseExitOutcome;

// Beginnings of the warnings of exit() and restoreIfPending() that end with an error.
constexpr const char* releaseNotRetained =
    "hot-corner release could not re-persist its recovery snapshot: ";
constexpr const char* pendingNotRetained =
    "hot-corner restoreIfPending could not re-persist its recovery snapshot: ";

// Beginnings of the lines about a snapshot's fate.
constexpr const char* enterOperation = "hot-corner enter";
constexpr const char* exitOperation = "hot-corner exit";
constexpr const char* pendingOperation = "hot-corner restoreIfPending";

/// Keeps the snapshot in memory and on disk; a file that holds it already is not rewritten.
void retain(const DockHotCornerSnapshot& snapshot, const std::string& path, Purpose purpose) {
    leaseState().recoverySnapshot = snapshot;
    ensureSnapshotOrThrow(snapshot, path, purpose);
}

/// Retains the snapshot as retain() does; logs a failure after `complaint`.
bool retainOrWarn(const DockHotCornerSnapshot& snapshot, const std::string& path, Purpose purpose,
                  const std::string& complaint) {
    try {
        retain(snapshot, path, purpose);
        return true;
    } catch (const OverrideError& error) {
        RestoreLog::warn(complaint + error.what());
        return false;
    }
}

/// Removes a restored snapshot from memory and disk. False, after a line that begins with
/// `operation`, if another process has written its own snapshot there meanwhile, which stays.
bool forget(const std::string& path, const std::string& operation) {
    leaseState().recoverySnapshot.reset();
    if (!files::removeIfPossible(path)) {
        return true;
    }
    RestoreLog::info(operation + ": snapshot at " + path +
                     " was changed by another process meanwhile and is left alone");
    return false;
}

/// Makes sure that the snapshot behind the present leases is in memory and on disk, and returns it.
DockHotCornerSnapshot snapshotInForce(const std::string& path, const std::string& whenMissing) {
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        throw OverrideError::persistenceFailed(whenMissing);
    }
    retain(*snapshot, path, Purpose::suppressing);
    return *snapshot;
}

DockHotCornerSnapshot renew(DockHotCornerLeaseOwner owner, const std::string& path,
                            const std::string& appID) {
    DockHotCornerSnapshot snapshot =
        snapshotInForce(path, "active " + rawValue(owner) + " lease has no persisted snapshot");
    if (!ensureDisabled(appID)) {
        throw OverrideError::syncFailed();
    }
    return snapshot;
}

DockHotCornerSnapshot join(DockHotCornerLeaseOwner owner, const std::string& path,
                           const std::string& appID) {
    DockHotCornerSnapshot snapshot =
        snapshotInForce(path, "active hot-corner leases have no persisted snapshot");
    if (!writeDisabled(appID)) {
        throw OverrideError::syncFailed();
    }
    leaseState().owners.insert(rawValue(owner));
    return snapshot;
}

/// Undoes an earlier suppression that is still pending. Until then the corners may be the
/// suppressed ones, so no snapshot of them may replace the pending one.
void recoverFirst(const std::string& path, const std::string& appID) {
    const bool isRestored = hasRecoveryState(path) && restoreIfPending(path, appID);
    if (!hasRecoveryState(path)) {
        // The helper may have restored and removed it meanwhile.
        files::Recovery::note(path, files::Version());
        return;
    }
    if (isRestored) {
        return;  // the file cannot be removed
    }
    RestoreLog::warn("hot-corner enter: pending snapshot at " + path +
                     " could not be restored (corrupt file or Dock sync failed); refusing to "
                     "overwrite with fresh snapshot");
    throw OverrideError::syncFailed();
}

/// Puts the corners back after a failed suppression. If that fails too, the snapshot stays for a
/// later recovery.
void undoSuppression(const DockHotCornerSnapshot& snapshot, const std::string& path,
                     const std::string& appID) {
    if (restore(snapshot, appID)) {
        forget(path, enterOperation);
    }
}

/// Suppresses the corners and adds the lease. False if the Dock does not take it.
bool addFirstLease(DockHotCornerLeaseOwner owner, const DockHotCornerSnapshot& snapshot,
                   const std::string& appID) {
    leaseState().recoverySnapshot = snapshot;
    if (!writeDisabled(appID)) {
        return false;
    }
    leaseState().owners.insert(rawValue(owner));
    return true;
}

DockHotCornerSnapshot suppress(DockHotCornerLeaseOwner owner, const std::string& path,
                               const std::string& appID) {
    // From here on, a snapshot that another process saves is not replaced by this one.
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    recoverFirst(path, appID);
    DockHotCornerSnapshot snapshot = readCurrent(appID);
    saveSnapshotOrThrow(snapshot, path);
    try {
        if (addFirstLease(owner, snapshot, appID)) {
            return snapshot;
        }
    } catch (const std::bad_alloc&) {
        undoSuppression(snapshot, path, appID);
        throw;
    }
    undoSuppression(snapshot, path, appID);
    throw OverrideError::syncFailed();
}

/// Restores a retained snapshot. Any failure is logged with `operation` in front.
bool restoreOrWarn(const DockHotCornerSnapshot& snapshot, const std::string& path,
                   const std::string& appID, const std::string& operation) {
    if (restore(snapshot, appID)) {
        return true;
    }
    RestoreLog::warn(operation + ": CFPreferencesAppSynchronize failed; snapshot kept at " + path +
                     " for retry");
    return false;
}

Outcome releaseLast(const std::string& path, const std::string& appID) {
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        RestoreLog::warn("hot-corner release found no recoverable snapshot for the final owner");
        return Outcome::snapshotUnavailable;
    }
    // Worth trying even if the snapshot is only in memory: nothing is lost by restoring now.
    retainOrWarn(*snapshot, path, Purpose::restoring, releaseNotRetained);
    if (!restoreOrWarn(*snapshot, path, appID, exitOperation)) {
        return Outcome::restoreFailed;
    }
    forget(path, exitOperation);
    return Outcome::restored;
}

Outcome releaseOneOfSeveral(const std::string& path, const std::string& appID) {
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        RestoreLog::warn(
            "hot-corner release found no recoverable snapshot while other owners remain");
        return Outcome::suppressionReassertFailed;
    }
    if (!retainOrWarn(*snapshot, path, Purpose::suppressing, releaseNotRetained)) {
        return Outcome::suppressionReassertFailed;
    }
    if (!ensureDisabled(appID)) {
        RestoreLog::warn(
            "hot-corner release could not refresh native suppression while other owners remain");
        return Outcome::suppressionReassertFailed;
    }
    return Outcome::suppressionMaintained;
}

}  // namespace

LeaseState& leaseState() {
    static ProcessWide<LeaseState> state;
    return state.get();
}

DockHotCornerSnapshot enter(DockHotCornerLeaseOwner owner, const std::string& path,
                            const std::string& appID) {
    if (isHeld(owner)) {
        return renew(owner, path, appID);
    }
    return isActive() ? join(owner, path, appID) : suppress(owner, path, appID);
}

DockHotCornerLeaseExitOutcome exit(DockHotCornerLeaseOwner owner, const std::string& path,
                                   const std::string& appID) {
    if (leaseState().owners.erase(rawValue(owner)) == 0) {
        return Outcome::noLease;
    }
    return isActive() ? releaseOneOfSeveral(path, appID) : releaseLast(path, appID);
}

bool restoreIfPending(const std::string& path, const std::string& appID) {
    if (isActive()) {
        RestoreLog::warn(
            "hot-corner restoreIfPending refused while suppression leases remain active");
        return false;
    }
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        return false;
    }
    const bool isRetained = retainOrWarn(*snapshot, path, Purpose::restoring, pendingNotRetained);
    if (!isRetained && files::isChangedByAnother(path)) {
        leaseState().recoverySnapshot.reset();
        return false;
    }
    return restoreOrWarn(*snapshot, path, appID, pendingOperation) &&
           forget(path, pendingOperation);
}

std::optional<DockHotCornerSnapshot> recoverableSnapshot(const std::string& path) {
    const std::optional<DockHotCornerSnapshot>& inMemory = leaseState().recoverySnapshot;
    return inMemory ? inMemory : loadSnapshot(path);
}

void forgetSnapshotInMemory() {
    if (!isActive()) {
        leaseState().recoverySnapshot.reset();
    }
}

bool hasRecoveryState(const std::string& path) {
    // A file that cannot be examined may hold the user's corners.
    return files::mayExist(path) || leaseState().recoverySnapshot.has_value();
}

bool isActive() {
    return !leaseState().owners.empty();
}

bool isHeld(DockHotCornerLeaseOwner owner) {
    return leaseState().owners.contains(rawValue(owner));
}

}  // namespace tolvaran::DockHotCornerOverride
