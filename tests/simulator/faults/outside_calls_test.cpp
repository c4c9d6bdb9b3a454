#include "simulator/faults/outside_calls.hpp"

#include <ApplicationServices/ApplicationServices.h>
#include <ColorSync/ColorSync.h>
#include <dispatch/dispatch.h>
#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/host/file_calls.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class OutsideCalls : public SimulatorTest {};

/// How a result of this function is read; the error if it is refused.
json readAs(const std::string& function, const json& result) {
    try {
        return readFaultResult(function, JsonReader(result, "result"));
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

TEST_F(OutsideCalls, ResultsAreOfTheTypeOfTheFunction) {
    const std::string int32 = "result: must be a whole number from -2147483648 to 2147483647";
    const std::string uint32 = "result: must be a whole number from 0 to 4294967295";
    const std::string boolean = "result: must be true or false";
    const std::string null = "result: must be null";
    const std::string nothing =
        "result: must be left out: the function returns nothing that a fault can choose";
    const std::string notAnError = "result: is not the name of an error that the simulator knows";
    const std::string uuid = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    const struct {
        const char* function;
        json result;
        json read;
    } rows[] = {
        {"CGBeginDisplayConfiguration", 1004, 1004},
        {"CGBeginDisplayConfiguration", -2147483648, -2147483648},
        {"CGBeginDisplayConfiguration", 1004.0, 1004},
        {"CGBeginDisplayConfiguration", true, 1},
        {"CGBeginDisplayConfiguration", false, 0},
        {"CGBeginDisplayConfiguration", 1099511627776, int32},
        {"CGBeginDisplayConfiguration", std::numeric_limits<std::uint64_t>::max(), int32},
        {"CGBeginDisplayConfiguration", 0.5, int32},
        {"CGBeginDisplayConfiguration", "1004", int32},
        {"CGBeginDisplayConfiguration", nullptr, int32},
        {"CGMainDisplayID", 4294967295, 4294967295},
        {"CGMainDisplayID", -1, uint32},
        {"CGMainDisplayID", 4294967296, uint32},
        {"CFPreferencesSynchronize", false, false},
        {"CFPreferencesSynchronize", true, true},
        {"CFPreferencesSynchronize", 0, false},
        {"CFPreferencesSynchronize", 1.0, true},
        {"CFPreferencesSynchronize", 2, boolean},
        {"CFPreferencesSynchronize", nullptr, boolean},
        {"CFAbsoluteTimeGetCurrent", 0.5, 0.5},
        {"CFAbsoluteTimeGetCurrent", "now", "result: must be a number"},
        {"dlopen", nullptr, nullptr},
        {"dlopen", 0, nullptr},
        {"dlopen", false, nullptr},
        {"dlopen", 1, null},
        {"dispatch_source_create", "source", null},
        {"CGDisplayCreateUUIDFromDisplayID", uuid, uuid},
        {"CGDisplayCreateUUIDFromDisplayID", nullptr, nullptr},
        {"CGDisplayCreateUUIDFromDisplayID", "uuid",
         "result: must be a UUID in the form 8-4-4-4-12, or null"},
        {"SLSCopyActiveMenuBarDisplayIdentifier", "Main", "Main"},
        {"SLSCopyActiveMenuBarDisplayIdentifier", nullptr, nullptr},
        {"SLSCopyActiveMenuBarDisplayIdentifier", 1, "result: must be a string"},
        {"CFPreferencesCopyValue", {1, {{"a", "b"}}}, {1, {{"a", "b"}}}},
        {"CFPreferencesCopyValue", nullptr, nullptr},
        {"CFPreferencesCopyValue", {1, nullptr}, "result[1]: must not be null"},
        {"CFPreferencesCopyValue", {{"$data", "*"}}, "result.$data: must be base64"},
        {"CFBundleGetAllBundles", json::array(), json::array()},
        {"CFBundleGetAllBundles", nullptr, nullptr},
        {"CFBundleGetAllBundles", {1}, "result: must be an empty list, or null"},
        {"CGDisplayBounds", {0, -1.5, 2, 3}, {0, -1.5, 2, 3}},
        {"CGDisplayBounds", {0, 1, 2}, "result: must have 4 elements"},
        {"CGDisplayBounds", {0, 1, 2, "3"}, "result[3]: must be a number"},
        {"CGDisplayBounds", nullptr, "result: must be a list"},
        {"CoreDockSetAutoHideEnabled", 0, nothing},
        {"runningApplications", json::array(), nothing},
        {"unlink", "ENOSPC", ENOSPC},
        {"unlink", ENOSPC, ENOSPC},
        {"unlink", "ENOSUCH", notAnError},
        {"unlink", 0, "result: must be a whole number from 1 to 2147483647"},
        {"unlink", nullptr, "result: must be a string"},
        {"unlink", {{"bytes", 2}}, "result: must be a string"},
        {"opendir", nullptr, EIO},
        {"opendir", "EACCES", EACCES},
        {"write", "EIO", EIO},
        {"write", {{"bytes", 2.0}}, {{"bytes", 2}}},
        {"write",
         {{"bytes", -1}},
         "result.bytes: must be a whole number from 0 to 9223372036854775807"},
        {"write", {{"bytes", 2}, {"more", 1}}, "result.more: unknown key"},
    };
    for (const auto& [function, result, read] : rows) {
        EXPECT_EQ(readAs(function, result), read) << function << " " << result;
        EXPECT_EQ(readAs(function, result).type_name(), std::string(read.type_name()))
            << function << " " << result;
    }
}

TEST_F(OutsideCalls, TheFunctionMustBeOneThatCanFail) {
    EXPECT_TRUE(canFail("CGMainDisplayID"));
    EXPECT_FALSE(canFail("CGNope"));
    EXPECT_FALSE(canFail(""));
}

TEST_F(OutsideCalls, EveryFailureFormIsAFaultOfItsFunction) {
    for (const std::string& function : outsideFunctions()) {
        for (json fault : failureForms(function)) {
            fault["call"] = function;
            EXPECT_EQ(thrownBy([&] { addFault(fault); }), "") << fault;
        }
    }
}

TEST_F(OutsideCalls, FailAsOnARealSystem) {
    const std::vector<json> closes{{{"result", "EIO"}, {"effect", true}},
                                   {{"result", "EINTR"}, {"effect", true}}};
    EXPECT_EQ(failureForms("close"), closes) << "it has closed anyway";
    EXPECT_EQ(failureForms("getpid"), std::vector<json>{});
    EXPECT_THROW(failureForms("CGNope"), std::out_of_range);
}

TEST_F(OutsideCalls, ResultsAreReturned) {
    const cf::Owned<CFStringRef> key(cf::createString("key"));
    const auto synchronizes = [] {
        return CFPreferencesSynchronize(kCFPreferencesAnyApplication, kCFPreferencesCurrentUser,
                                        kCFPreferencesAnyHost) != 0;
    };
    for (const auto& [result, isYes] :
         {std::pair(json(false), false), {0, false}, {true, true}, {1, true}}) {
        clearFaults();
        failCalls("CFPreferencesSynchronize", result);
        failCalls("CGDisplayIsActive", result);
        EXPECT_EQ(synchronizes(), isYes) << result;
        EXPECT_EQ(CGDisplayIsActive(isYes ? 99 : 1), isYes ? 1 : 0) << result;
    }
    addFault({{"call", "CGDisplayBounds"}, {"result", {1, 2, 3.5, -4}}});
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(1), CGRectMake(1, 2, 3.5, -4)));
    const std::string uuid = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    addFault({{"call", "CGDisplayCreateUUIDFromDisplayID"}, {"result", uuid}});
    const cf::Owned<CFUUIDRef> made(CGDisplayCreateUUIDFromDisplayID(99));
    const cf::Owned<CFStringRef> text(CFUUIDCreateString(kCFAllocatorDefault, made.get()));
    EXPECT_EQ(cf::text(text.get()), uuid);
}

TEST_F(OutsideCalls, ACallWithoutEffectAndResultReturnsTheEmptyResult) {
    set({{"preferences", {{"global", {{"key", 1}}}}}});
    for (const char* const function :
         {"CFPreferencesCopyValue", "dispatch_source_create", "CFUUIDCreate",
          "CFBundleGetMainBundle", "CFBundleGetAllBundles", "CFAbsoluteTimeGetCurrent", "getpid",
          "CFStringCreateWithBytes", "getpwuid"}) {
        addFault({{"call", function}, {"effect", false}});
    }
    EXPECT_EQ(CFPreferencesCopyValue(CFSTR("key"), kCFPreferencesAnyApplication,
                                     kCFPreferencesCurrentUser, kCFPreferencesAnyHost),
              nullptr);
    EXPECT_EQ(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue()),
              nullptr);
    EXPECT_EQ(CFUUIDCreate(kCFAllocatorDefault), nullptr);
    EXPECT_EQ(CFBundleGetMainBundle(), nullptr);
    EXPECT_EQ(CFBundleGetAllBundles(), nullptr);
    EXPECT_EQ(CFAbsoluteTimeGetCurrent(), 0);
    EXPECT_EQ(getpid(), 0);
    EXPECT_EQ(getpwuid(getuid()), nullptr);
    EXPECT_EQ(faultsMet(), 8U);
}

}  // namespace
}  // namespace tolvaran::tests
