#include "restore/dock/dock_hot_corner_lease.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tolvaran::tests {
namespace {

TEST(DockHotCornerLease, OwnersHaveTheirNamesInOrder) {
    std::vector<std::string> names;
    for (const DockHotCornerLeaseOwner owner : allDockHotCornerLeaseOwners) {
        names.push_back(rawValue(owner));
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"gameMode", "customHotCorners", "displayTransition"}));
}

TEST(DockHotCornerLease, ThreeOutcomesAreASuccess) {
    using enum DockHotCornerLeaseExitOutcome;
    for (const auto outcome : {restored, suppressionMaintained, noLease}) {
        EXPECT_TRUE(succeeded(outcome));
    }
    for (const auto outcome : {snapshotUnavailable, restoreFailed, suppressionReassertFailed,
                               snapshotPersistenceFailed, dockSyncFailed}) {
        EXPECT_FALSE(succeeded(outcome));
    }
}

}  // namespace
}  // namespace tolvaran::tests
