// New UUIDs. How one is read from text is in tests/contract/values_test.cpp.
#include "simulator/core_foundation/uuid.hpp"

#include <string>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/loop/clock.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class UUID : public SimulatorTest {};

std::string newUUID() {
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(kCFAllocatorDefault));
    const Owned<CFStringRef> string(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
    return text(string.get());
}

TEST_F(UUID, NewOnesAreTheSameInEveryVirtualRun) {
    const std::string first = newUUID();
    const std::string second = newUUID();
    EXPECT_NE(first, second);
    EXPECT_EQ(first[14], '4') << "random";
    reset();
    EXPECT_EQ(newUUID(), first);
    EXPECT_EQ(newUUID(), second);
}

TEST_F(UUID, NewOnesDifferInRealRuns) {
    clock::restart(clock::Kind::realTime);
    const std::string first = newUUID();
    reset();
    clock::restart(clock::Kind::realTime);
    EXPECT_NE(newUUID(), first);
}

}  // namespace
}  // namespace tolvaran::tests
