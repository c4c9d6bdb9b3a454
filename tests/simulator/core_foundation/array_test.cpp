#include <CoreFoundation/CoreFoundation.h>

#include <vector>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class Array : public SimulatorTest {};

TEST_F(Array, OwnsWhatItHolds) {
    const Owned<CFStringRef> string(createString("a"));
    const void* values[] = {string.get(), string.get()};
    {
        const Owned<CFArrayRef> array(
            CFArrayCreate(kCFAllocatorDefault, values, 2, &kCFTypeArrayCallBacks));
        EXPECT_EQ(CFGetRetainCount(string.get()), 3);
        EXPECT_EQ(CFArrayGetCount(array.get()), 2);
        EXPECT_EQ(CFArrayGetValueAtIndex(array.get(), 1), string.get());
        EXPECT_EQ(CFGetRetainCount(string.get()), 3) << "Get gives no reference";
    }
    EXPECT_EQ(CFGetRetainCount(string.get()), 1);
}

TEST_F(Array, WithoutCallBacksOwnsNothing) {
    const Owned<CFStringRef> string(createString("a"));
    const void* values[] = {string.get()};
    const Owned<CFArrayRef> array(CFArrayCreate(kCFAllocatorDefault, values, 1, nullptr));
    EXPECT_EQ(CFGetRetainCount(string.get()), 1);
}

}  // namespace
}  // namespace tolvaran::tests
