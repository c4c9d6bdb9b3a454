// What the hot-corner leases remember between calls, and a crash therefore forgets. Used by
// dock_hot_corner_override.cpp, by the helper's step, which clears the snapshot, and by the leases'
// test, which saves and restores this state. Main thread only.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::DockHotCornerOverride {

struct LeaseState {
    std::set<std::string> owners;  // raw values
    // The snapshot to recover from: set whenever one is taken, loaded or written again; cleared
    // once it has been restored, and by a process that relies on the file alone
    // (forgetSnapshotInMemory()).
    std::optional<DockHotCornerSnapshot> recoverySnapshot;

    bool operator==(const LeaseState&) const = default;
};

/// The one state of this process.
LeaseState& leaseState();

/// Forgets the snapshot in memory unless a lease needs it. A process that only recovers calls it
/// before each attempt and relies on the file, since another process may have written a newer
/// snapshot.
void forgetSnapshotInMemory();

}  // namespace tolvaran::DockHotCornerOverride
