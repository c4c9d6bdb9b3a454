// What the hot-corner leases remember from one call to the next, and what a crash therefore
// forgets. Used by dock_hot_corner_override.cpp, and by its test, which copies this to go back to
// an earlier moment of the process's life.
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
    // (forgetSnapshotOnDisk()).
    std::optional<DockHotCornerSnapshot> recoverySnapshot;

    bool operator==(const LeaseState&) const = default;
};

/// The one state of this process.
LeaseState& leaseState();

}  // namespace tolvaran::DockHotCornerOverride
