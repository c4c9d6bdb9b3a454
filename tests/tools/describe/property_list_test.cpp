#include "tools/describe/property_list.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "simulator/core_foundation/json.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran {
namespace {

using describe::propertyList;
using nlohmann::json;

std::string shown(CFTypeRef value) {
    const auto form = propertyList(value);
    return form ? form->dump() : "none";
}

std::string nested(int depth) {
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
}

TEST(PropertyList, KeepsEveryTypeAndValue) {
    const std::vector<std::string> rows = {
        R"("text €")",
        R"("")",
        "true",
        "false",
        "0",
        "1",
        "1.0",
        "-1.5",
        "9223372036854775807",
        "-9223372036854775808",
        "1.8446744073709552e+19",
        "[]",
        R"(["a",1,[true],{"b":2}])",
        "{}",
        R"({"a":{"b":[1,2.5,"c"]},"d":false})",
        R"({"$data":"","other":1})",
        R"({"$date":788918400.5})",
        nested(50),
        // Every length of the last group, and every digit.
        R"({"$data":""})",
        R"({"$data":"AA=="})",
        R"({"$data":"AAE="})",
        R"({"$data":"AAEC"})",
        R"({"$data":"/+8="})",
        R"({"$data":"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"})",
    };
    const std::size_t before = simulator::liveObjects();
    for (const std::string& row : rows) {
        const auto object =
            CFRef<CFTypeRef>::assume(simulator::cf::createFromJson(json::parse(row)));
        EXPECT_EQ(shown(object.get()), row);
    }
    EXPECT_EQ(simulator::liveObjects(), before);
}

CFRef<CFTypeRef> dictionary(CFTypeRef key, CFTypeRef value) {
    return CFRef<CFTypeRef>::assume(CFDictionaryCreate(kCFAllocatorDefault, &key, &value, 1,
                                                       &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks));
}

CFRef<CFTypeRef> list(CFTypeRef value) {
    return CFRef<CFTypeRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, &value, 1, &kCFTypeArrayCallBacks));
}

TEST(PropertyList, HasNoFormForWhatJSONCannotHold) {
    const double infinity = std::numeric_limits<double>::infinity();
    constexpr UniChar loneSurrogate = 0xD800;
    const auto endless = CFRef<CFTypeRef>::assume(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &infinity));
    const auto endlessDate = CFRef<CFTypeRef>::assume(CFDateCreate(kCFAllocatorDefault, infinity));
    const auto uuid = CFRef<CFTypeRef>::assume(CFUUIDCreate(kCFAllocatorDefault));
    const auto notText = CFRef<CFTypeRef>::assume(
        CFStringCreateWithCharacters(kCFAllocatorDefault, &loneSurrogate, 1));
    const auto tooDeep =
        CFRef<CFTypeRef>::assume(simulator::cf::createFromJson(json::parse(nested(52))));
    const auto text = CFRef<CFTypeRef>::retain(CFSTR("text"));
    for (const CFRef<CFTypeRef>& bad : {endless, endlessDate, uuid, notText, tooDeep}) {
        EXPECT_EQ(shown(bad.get()), "none");
        EXPECT_EQ(shown(list(bad.get()).get()), "none");
        EXPECT_EQ(shown(dictionary(CFSTR("key"), bad.get()).get()), "none");
    }
    EXPECT_EQ(shown(nullptr), "none");
    EXPECT_EQ(shown(dictionary(uuid.get(), text.get()).get()), "none") << "a key that is not text";
    for (CFStringRef tag : {CFSTR("$data"), CFSTR("$date")}) {
        EXPECT_EQ(shown(dictionary(tag, text.get()).get()), "none") << "reads as something else";
    }
}

}  // namespace
}  // namespace tolvaran
