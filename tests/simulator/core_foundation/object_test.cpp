#include "simulator/core_foundation/object.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/number.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

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
}  // namespace tolvaran::tests
