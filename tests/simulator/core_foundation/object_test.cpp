#include "simulator/core_foundation/object.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/number.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace simulator::cf {
namespace {

class Object : public SimulatorTest {};
class ObjectDeathTest : public SimulatorTest {};

CFStringRef newString(const char* text) {
    return createString(text);
}

TEST_F(Object, CreatingGivesOneReference) {
    const Owned<CFStringRef> string(newString("a"));
    EXPECT_EQ(CFGetRetainCount(string.get()), 1);
}

TEST_F(Object, RetainingAndReleasingCount) {
    const Owned<CFStringRef> string(newString("a"));
    EXPECT_EQ(CFRetain(string.get()), string.get());
    EXPECT_EQ(CFGetRetainCount(string.get()), 2);
    CFRelease(string.get());
    EXPECT_EQ(CFGetRetainCount(string.get()), 1);
}

TEST_F(Object, TheLastReleaseEndsIt) {
    const std::size_t before = simulator::liveObjects();
    const CFStringRef string = newString("a");
    EXPECT_EQ(simulator::liveObjects(), before + 1);
    CFRelease(string);
    EXPECT_EQ(simulator::liveObjects(), before);
}

TEST_F(Object, ConstantsAreNotCounted) {
    const std::size_t before = simulator::liveObjects();
    const std::vector<CFTypeRef> constants{CFSTR("constant"), kCFBooleanTrue,
                                           kCFPreferencesAnyHost};
    for (const CFTypeRef constant : constants) {
        const CFIndex count = CFGetRetainCount(constant);
        EXPECT_EQ(CFRetain(constant), constant);
        EXPECT_EQ(CFGetRetainCount(constant), count);
        CFRelease(constant);
        CFRelease(constant);
        EXPECT_EQ(CFGetRetainCount(constant), count);
    }
    EXPECT_EQ(simulator::liveObjects(), before);
    EXPECT_EQ(CFSTR("constant"), constants[0]) << "one literal is one object";
}

TEST_F(Object, ArraysOwnWhatTheyHold) {
    const Owned<CFStringRef> string(newString("a"));
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

TEST_F(Object, ArraysWithoutCallBacksOwnNothing) {
    const Owned<CFStringRef> string(newString("a"));
    const void* values[] = {string.get()};
    const Owned<CFArrayRef> array(CFArrayCreate(kCFAllocatorDefault, values, 1, nullptr));
    EXPECT_EQ(CFGetRetainCount(string.get()), 1);
}

TEST_F(Object, DictionariesOwnKeysAndValues) {
    const Owned<CFStringRef> key(newString("key"));
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

TEST_F(Object, ReplacingAValueReleasesTheOldOne) {
    const Owned<CFMutableDictionaryRef> dictionary(createDictionary());
    const Owned<CFStringRef> first(newString("first"));
    const Owned<CFStringRef> second(newString("second"));
    CFDictionarySetValue(dictionary.get(), CFSTR("key"), first.get());
    CFDictionarySetValue(dictionary.get(), CFSTR("key"), second.get());
    EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 1);
    EXPECT_EQ(CFGetRetainCount(first.get()), 1);
    EXPECT_EQ(CFGetRetainCount(second.get()), 2);
}

TEST_F(Object, DictionariesTellMissingFromPresent) {
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

TEST_F(Object, EqualityComparesWhatObjectsHold) {
    const Owned<CFStringRef> a(newString("text"));
    const Owned<CFStringRef> b(newString("text"));
    const Owned<CFStringRef> c(newString("Text"));
    const Owned<CFNumberRef> one(createNumber(std::int64_t{1}));
    EXPECT_TRUE(CFEqual(a.get(), b.get()));
    EXPECT_EQ(CFHash(a.get()), CFHash(b.get()));
    EXPECT_FALSE(CFEqual(a.get(), c.get()));
    EXPECT_FALSE(CFEqual(one.get(), kCFBooleanTrue)) << "a number is not a boolean";
    EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
}

TEST_F(Object, EveryTypeHasItsOwnIdentifier) {
    const std::set<CFTypeID> types{
        CFStringGetTypeID(), CFNumberGetTypeID(), CFBooleanGetTypeID(),    CFDataGetTypeID(),
        CFDateGetTypeID(),   CFArrayGetTypeID(),  CFDictionaryGetTypeID(), CFUUIDGetTypeID(),
        CFBundleGetTypeID(), CFURLGetTypeID()};
    EXPECT_EQ(types.size(), 10U);
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
}

TEST_F(ObjectDeathTest, MisuseAbortsWithAMessage) {
    const CFStringRef gone = newString("a");
    CFRelease(gone);
    const std::uint64_t foreign[8] = {};
    const struct {
        const char* message;
        std::function<void()> misuse;
    } cases[] = {
        {"CFRelease: the CFString is gone: its last reference was released",
         [=] { CFRelease(gone); }},
        {"CFStringGetLength: the CFString is gone", [=] { CFStringGetLength(gone); }},
        {"CFRetain: the reference is null", [] { CFRetain(nullptr); }},
        {"CFRelease: the reference is null", [] { CFRelease(nullptr); }},
        {"CFGetTypeID: the reference is not to a Core Foundation object",
         [&] { CFGetTypeID(foreign); }},
        {"CFStringGetLength: the object is a CFBoolean, not a CFString",
         [] { CFStringGetLength(reinterpret_cast<CFStringRef>(kCFBooleanTrue)); }},
        {"CFArrayGetValueAtIndex: there is no element 0 among 0",
         [] {
             CFArrayGetValueAtIndex(
                 CFArrayCreate(kCFAllocatorDefault, nullptr, 0, &kCFTypeArrayCallBacks), 0);
         }},
        {"CFDictionarySetValue: the dictionary is immutable",
         [] {
             const CFDictionaryRef fixed =
                 CFDictionaryCreate(kCFAllocatorDefault, nullptr, nullptr, 0, nullptr, nullptr);
             CFDictionarySetValue(
                 reinterpret_cast<CFMutableDictionaryRef>(const_cast<__CFDictionary*>(fixed)),
                 nullptr, nullptr);
         }},
    };
    for (const auto& [message, misuse] : cases) {
        EXPECT_DEATH(misuse(), std::string("simulator: ") + message);
    }
}

}  // namespace
}  // namespace simulator::cf
