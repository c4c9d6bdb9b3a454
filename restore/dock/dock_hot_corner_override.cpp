#include "restore/dock/dock_hot_corner_override.hpp"

#include "restore/dock/hot_corner_lease_state.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran::DockHotCornerOverride {
namespace {

using Outcome = DockHotCornerLeaseExitOutcome;

// How the warnings of exit() and restoreIfPending() begin that end with an error or a path.
constexpr const char* releaseNotRetained =
    "hot-corner release could not re-persist its recovery snapshot: ";
constexpr const char* pendingNotRetained =
    "hot-corner restoreIfPending could not re-persist its recovery snapshot: ";
constexpr const char* exitNotRestored = "hot-corner exit: CFPreferencesAppSynchronize failed";
constexpr const char* pendingNotRestored =
    "hot-corner restoreIfPending: CFPreferencesAppSynchronize failed";

/// Keeps the snapshot in memory and on disk; a file that holds it already is left alone.
void retain(const DockHotCornerSnapshot& snapshot, const std::string& path) {
    leaseState().recoverySnapshot = snapshot;
    if (loadSnapshot(path) != snapshot) {
        saveSnapshotOrThrow(snapshot, path);
    }
}

/// The same; a failure is logged behind `complaint`.
bool retainOrWarn(const DockHotCornerSnapshot& snapshot, const std::string& path,
                  const std::string& complaint) {
    try {
        retain(snapshot, path);
        return true;
    } catch (const OverrideError& error) {
        RestoreLog::warn(complaint + error.what());
        return false;
    }
}

/// What a restored snapshot leaves behind: nothing.
void forget(const std::string& path) {
    deleteSnapshot(path);
    leaseState().recoverySnapshot.reset();
}

/// The snapshot that the leases already held go back to, in memory and on disk.
DockHotCornerSnapshot snapshotInForce(const std::string& path, const std::string& whenMissing) {
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        throw OverrideError::persistenceFailed(whenMissing);
    }
    retain(*snapshot, path);
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

/// Undoes an earlier suppression that nobody has undone. What is in force until then may be that
/// suppression, so no snapshot of it may replace the one that is pending.
void recoverFirst(const std::string& path, const std::string& appID) {
    if (hasRecoveryState(path) && !restoreIfPending(path, appID)) {
        RestoreLog::warn("hot-corner enter: pending snapshot at " + path +
                         " could not be restored (corrupt file or Dock sync failed); refusing to "
                         "overwrite with fresh snapshot");
        throw OverrideError::syncFailed();
    }
}

DockHotCornerSnapshot suppress(DockHotCornerLeaseOwner owner, const std::string& path,
                               const std::string& appID) {
    recoverFirst(path, appID);
    DockHotCornerSnapshot snapshot = readCurrent(appID);
    saveSnapshotOrThrow(snapshot, path);
    leaseState().recoverySnapshot = snapshot;
    if (!writeDisabled(appID)) {
        if (restore(snapshot, appID)) {
            forget(path);
        }
        throw OverrideError::syncFailed();
    }
    leaseState().owners.insert(rawValue(owner));
    return snapshot;
}

/// Restores a snapshot that is retained, and forgets it once it is in force. A failure, whatever it
/// was, is logged with `complaint` in front.
bool restoreAndForget(const DockHotCornerSnapshot& snapshot, const std::string& path,
                      const std::string& appID, const std::string& complaint) {
    if (!restore(snapshot, appID)) {
        RestoreLog::warn(complaint + "; snapshot kept at " + path + " for retry");
        return false;
    }
    forget(path);
    return true;
}

Outcome releaseLast(const std::string& path, const std::string& appID) {
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        RestoreLog::warn("hot-corner release found no recoverable snapshot for the final owner");
        return Outcome::snapshotUnavailable;
    }
    // Worth a try even when the snapshot is in memory only: nothing is lost by restoring now.
    retainOrWarn(*snapshot, path, releaseNotRetained);
    return restoreAndForget(*snapshot, path, appID, exitNotRestored) ? Outcome::restored
                                                                     : Outcome::restoreFailed;
}

Outcome releaseOneOfSeveral(const std::string& path, const std::string& appID) {
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        RestoreLog::warn(
            "hot-corner release found no recoverable snapshot while other owners remain");
        return Outcome::suppressionReassertFailed;
    }
    if (!retainOrWarn(*snapshot, path, releaseNotRetained)) {
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
    const std::optional<DockHotCornerSnapshot> snapshot = recoverableSnapshot(path);
    if (!snapshot) {
        return false;
    }
    retainOrWarn(*snapshot, path, pendingNotRetained);
    return restoreAndForget(*snapshot, path, appID, pendingNotRestored);
}

std::optional<DockHotCornerSnapshot> recoverableSnapshot(const std::string& path) {
    const std::optional<DockHotCornerSnapshot>& inMemory = leaseState().recoverySnapshot;
    return inMemory ? inMemory : loadSnapshot(path);
}

void forgetSnapshotOnDisk(const std::string& path) {
    // Not read again to compare: where that fails, a copy would be kept that is out of date by the
    // time of the next attempt.
    if (!isActive() && files::mayExist(path)) {
        leaseState().recoverySnapshot.reset();
    }
}

bool hasRecoveryState(const std::string& path) {
    // A file that cannot be looked at may hold the user's corners.
    return files::mayExist(path) || leaseState().recoverySnapshot.has_value();
}

bool isActive() {
    return !leaseState().owners.empty();
}

bool isHeld(DockHotCornerLeaseOwner owner) {
    return leaseState().owners.contains(rawValue(owner));
}

}  // namespace tolvaran::DockHotCornerOverride
