// What the hot-corner leases remember from one call to the next, and what a crash therefore
// forgets. Used by dock_hot_corner_override.cpp, by the helper's step, which forgets it, and by the
// leases' test, which copies this to go back to an earlier moment of the process's life.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::DockHotCornerOverride {

struct LeaseState {
    std::set<std::string> owners;  // raw values
    // The snapshot to recover from: set whenever one is taken, loaded or written again; cleared
    // once it has been restored, and by a process that goes by the file alone
    // (forgetSnapshotInMemory()).
    std::optional<DockHotCornerSnapshot> recoverySnapshot;

    bool operator==(const LeaseState&) const = default;
};

/// The one state of this process.
LeaseState& leaseState();

/// Forgets the snapshot in memory unless a lease needs it. For a process that only recovers, before
/// each attempt: another process may have written a newer snapshot since the last one, and the file
/// is what it goes by.
void forgetSnapshotInMemory();

}  // namespace tolvaran::DockHotCornerOverride
