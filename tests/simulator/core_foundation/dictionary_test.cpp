#include <CoreFoundation/CoreFoundation.h>

#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/number.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class Dictionary : public SimulatorTest {};

TEST_F(Dictionary, OwnsKeysAndValues) {
    const Owned<CFStringRef> key(createString("key"));
    const Owned<CFNumberRef> value(createNumber(std::int64_t{7}));
    const void* keys[] = {key.get()};
    const void* values[] = {value.get()};
    {
        const Owned<CFDictionaryRef> dictionary(
            CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks));
        EXPECT_EQ(CFGetRetainCount(key.get()), 2);
        EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), CFSTR("key")), value.get())
            << "keys are compared by what they hold";
        EXPECT_EQ(CFGetRetainCount(value.get()), 2) << "Get gives no reference";
    }
    EXPECT_EQ(CFGetRetainCount(key.get()), 1);
    EXPECT_EQ(CFGetRetainCount(value.get()), 1);
}

TEST_F(Dictionary, ReleasesAValueThatIsReplaced) {
    const Owned<CFMutableDictionaryRef> dictionary(createDictionary());
    const Owned<CFStringRef> first(createString("first"));
    const Owned<CFStringRef> second(createString("second"));
    CFDictionarySetValue(dictionary.get(), CFSTR("key"), first.get());
    CFDictionarySetValue(dictionary.get(), CFSTR("key"), second.get());
    EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 1);
    EXPECT_EQ(CFGetRetainCount(first.get()), 1);
    EXPECT_EQ(CFGetRetainCount(second.get()), 2);
}

TEST_F(Dictionary, DistinguishesMissingFromPresent) {
    const void* keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("a")};
    const void* values[] = {kCFBooleanTrue, kCFBooleanFalse, kCFBooleanFalse};
    const Owned<CFDictionaryRef> dictionary(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 3,
                                                               &kCFTypeDictionaryKeyCallBacks,
                                                               &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 2) << "the first of equal keys counts";
    const void* value = nullptr;
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary.get(), CFSTR("a"), &value));
    EXPECT_EQ(value, kCFBooleanTrue);
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary.get(), CFSTR("c"), &value));
    EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), CFSTR("c")), nullptr);
    std::vector<const void*> allKeys(2);
    std::vector<const void*> allValues(2);
    CFDictionaryGetKeysAndValues(dictionary.get(), allKeys.data(), allValues.data());
    EXPECT_THAT(allKeys, testing::ElementsAre(CFSTR("a"), CFSTR("b")));
    EXPECT_THAT(allValues, testing::ElementsAre(kCFBooleanTrue, kCFBooleanFalse));
}

}  // namespace
}  // namespace tolvaran::tests
