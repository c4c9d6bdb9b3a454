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

std::string textOf(CFUUIDRef uuid) {
    const Owned<CFStringRef> string(CFUUIDCreateString(kCFAllocatorDefault, uuid));
    return text(string.get());
}

std::string newUUID() {
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(kCFAllocatorDefault));
    return textOf(uuid.get());
}

TEST_F(UUID, ReadsAnyTextAsFarAsItGoes) {
    const struct {
        const char* text;
        const char* uuid;
    } rows[] = {
        {"01234567-89AB-CDEF-0123-456789ABCDEF", "01234567-89AB-CDEF-0123-456789ABCDEF"},
        {"01234567-89ab-cdef-0123-456789abcdef", "01234567-89AB-CDEF-0123-456789ABCDEF"},
        {"01234567-89AB-CDEF-0123-456789ABCDE", "01234567-89AB-CDEF-0123-456789ABCD00"},
        {"01234567-89AB-CDEF-0123-456789ABCDEF0", "01234567-89AB-CDEF-0123-456789ABCDEF"},
        {"0123456789ABCDEF0123456789ABCDEF", "01234567-9ABC-EF01-3456-89ABCDEF0000"},
        {"01234567-89AB-CDEF-0123-456789ABCDEG", "01234567-89AB-CDEF-0123-456789ABCD00"},
        {"01234567-89AB-CDEF-01234-56789ABCDEF", "01234567-89AB-CDEF-0123-006789ABCDEF"},
        {"{01234567-89AB-CDEF-0123-456789ABCDEF}", "01234567-89AB-CDEF-0123-456789ABCDEF"},
    };
    for (const auto& [text, uuid] : rows) {
        const Owned<CFStringRef> string(createString(text));
        const Owned<CFUUIDRef> read(CFUUIDCreateFromString(kCFAllocatorDefault, string.get()));
        ASSERT_NE(read.get(), nullptr) << text;
        EXPECT_EQ(textOf(read.get()), uuid) << text;
    }
    const Owned<CFStringRef> empty(createString(""));
    EXPECT_EQ(CFUUIDCreateFromString(kCFAllocatorDefault, empty.get()), nullptr);
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
