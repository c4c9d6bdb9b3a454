#include "simulator/core_foundation/uuid.hpp"

#include <string>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/loop/clock.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace simulator::cf {
namespace {

class UUID : public SimulatorTest {};

std::string textOf(CFUUIDRef uuid) {
    const Owned<CFStringRef> string(CFUUIDCreateString(kCFAllocatorDefault, uuid));
    return text(string.get());
}

std::string newUUID() {
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(kCFAllocatorDefault));
    return textOf(uuid.get());
}

TEST_F(UUID, ReadsTheStandardFormOnly) {
    const struct {
        const char* text;
        bool valid;
    } rows[] = {
        {"01234567-89AB-CDEF-0123-456789ABCDEF", true},
        {"01234567-89ab-cdef-0123-456789abcdef", true},
        {"", false},
        {"01234567-89AB-CDEF-0123-456789ABCDE", false},
        {"01234567-89AB-CDEF-0123-456789ABCDEF0", false},
        {"0123456789ABCDEF0123456789ABCDEF", false},
        {"01234567-89AB-CDEF-0123-456789ABCDEG", false},
        {"01234567-89AB-CDEF-01234-56789ABCDEF", false},
    };
    for (const auto& [text, valid] : rows) {
        const Owned<CFStringRef> string(createString(text));
        const Owned<CFUUIDRef> uuid(CFUUIDCreateFromString(kCFAllocatorDefault, string.get()));
        EXPECT_EQ(uuid.get() != nullptr, valid) << text;
        if (valid) {
            EXPECT_EQ(textOf(uuid.get()), "01234567-89AB-CDEF-0123-456789ABCDEF");
        }
    }
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
}  // namespace simulator::cf
