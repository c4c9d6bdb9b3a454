#include <CoreFoundation/CoreFoundation.h>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Preferences : public SimulatorTest {};

json copied(CFStringRef key, CFStringRef domain, CFStringRef user = kCFPreferencesCurrentUser,
            CFStringRef host = kCFPreferencesAnyHost) {
    const cf::Owned<CFPropertyListRef> value(CFPreferencesCopyValue(key, domain, user, host));
    return cf::toJson(value.get());
}

void setPreference(CFStringRef key, CFPropertyListRef value, CFStringRef domain,
                   CFStringRef host = kCFPreferencesAnyHost) {
    CFPreferencesSetValue(key, value, domain, kCFPreferencesCurrentUser, host);
}

TEST_F(Preferences, ReadsTheMachine) {
    reset({{"preferences",
            {{"com.apple.dock", {{"wvous-tl-corner", 5}}}, {"global", {{"dark", true}}}}}});
    EXPECT_EQ(copied(CFSTR("wvous-tl-corner"), CFSTR("com.apple.dock")), 5);
    EXPECT_EQ(copied(CFSTR("dark"), kCFPreferencesAnyApplication), true);
    EXPECT_EQ(copied(CFSTR("other"), CFSTR("com.apple.dock")), nullptr);
    EXPECT_EQ(copied(CFSTR("dark"), CFSTR("no.domain")), nullptr);
}

TEST_F(Preferences, OtherUsersAndHostsHaveNone) {
    reset({{"preferences", {{"global", {{"dark", true}}}}}});
    EXPECT_EQ(copied(CFSTR("dark"), kCFPreferencesAnyApplication, kCFPreferencesAnyUser), nullptr);
    EXPECT_EQ(copied(CFSTR("dark"), kCFPreferencesAnyApplication, kCFPreferencesCurrentUser,
                     kCFPreferencesCurrentHost),
              nullptr);
    setPreference(CFSTR("dark"), kCFBooleanFalse, kCFPreferencesAnyApplication,
                  kCFPreferencesCurrentHost);
    EXPECT_EQ(machine()["preferences"]["global"]["dark"], true);
}

TEST_F(Preferences, WritesAndRemoves) {
    setPreference(CFSTR("a"), kCFBooleanTrue, kCFPreferencesAnyApplication);
    setPreference(CFSTR("b"), CFSTR("text"), CFSTR("com.example"));
    EXPECT_EQ(machine()["preferences"],
              json::parse(R"({"global": {"a": true}, "com.example": {"b": "text"}})"));
    setPreference(CFSTR("b"), nullptr, CFSTR("com.example"));
    setPreference(CFSTR("c"), nullptr, CFSTR("no.domain"));
    EXPECT_EQ(machine()["preferences"],
              json::parse(R"({"global": {"a": true}, "com.example": {}})"));
}

TEST_F(Preferences, CallsAreListed) {
    setPreference(CFSTR("a"), kCFBooleanTrue, kCFPreferencesAnyApplication);
    setPreference(CFSTR("b"), nullptr, CFSTR("com.example"));
    EXPECT_TRUE(CFPreferencesSynchronize(CFSTR("com.example"), kCFPreferencesCurrentUser,
                                         kCFPreferencesAnyHost));
    EXPECT_TRUE(CFPreferencesAppSynchronize(CFSTR("com.example")));
    EXPECT_EQ(calls(), json::parse(R"([
        {"at": 0, "call": "CFPreferencesSetValue", "result": null,
         "args": ["a", true, "kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser",
                  "kCFPreferencesAnyHost"]},
        {"at": 0, "call": "CFPreferencesSetValue", "result": null,
         "args": ["b", null, "com.example", "kCFPreferencesCurrentUser", "kCFPreferencesAnyHost"]},
        {"at": 0, "call": "CFPreferencesSynchronize", "result": true,
         "args": ["com.example", "kCFPreferencesCurrentUser", "kCFPreferencesAnyHost"]},
        {"at": 0, "call": "CFPreferencesAppSynchronize", "result": true,
         "args": ["com.example"]}])"));
}

TEST_F(Preferences, MeetFaults) {
    addFault({{"call", "CFPreferencesSetValue"}, {"effect", false}});
    addFault({{"call", "CFPreferencesSynchronize"}, {"result", false}});
    addFault({{"call", "CFPreferencesCopyValue"}, {"result", {1, 2}}});
    setPreference(CFSTR("a"), kCFBooleanTrue, kCFPreferencesAnyApplication);
    EXPECT_EQ(machine()["preferences"], json::object());
    EXPECT_EQ(calls().size(), 1U) << "the call was made";
    EXPECT_FALSE(
        CFPreferencesSynchronize(CFSTR("x"), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    EXPECT_EQ(copied(CFSTR("a"), CFSTR("x")), json::parse("[1, 2]"));
}

}  // namespace
}  // namespace tolvaran::tests
