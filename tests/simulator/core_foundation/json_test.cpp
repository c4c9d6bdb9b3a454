#include "simulator/core_foundation/json.hpp"

#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class Json : public SimulatorTest {};

TEST_F(Json, EveryPropertyListSurvivesTheRoundTrip) {
    const char* const rows[] = {
        R"("text €")",
        "true",
        "false",
        "0",
        "-9223372036854775808",
        "1.5",
        "1.0",
        "[]",
        R"(["a", 1, [true], {"b": 2}])",
        "{}",
        R"({"a": {"b": [1, 2.5, "c"]}, "d": false})",
        R"({"$data": "AAECAw=="})",
        R"({"$date": 788918400.5})",
        R"({"$data": 1, "other": 2})",
    };
    for (const char* const row : rows) {
        const json value = json::parse(row);
        const Owned<CFTypeRef> object(createFromJson(value));
        const json back = toJson(object.get());
        EXPECT_EQ(back, value);
        EXPECT_EQ(back.is_number_float(), value.is_number_float()) << row;
    }
}

TEST_F(Json, GivesEachValueItsType) {
    const struct {
        const char* text;
        CFTypeID type;
    } rows[] = {
        {R"("a")", CFStringGetTypeID()},
        {"true", CFBooleanGetTypeID()},
        {"1", CFNumberGetTypeID()},
        {"1.0", CFNumberGetTypeID()},
        {"[]", CFArrayGetTypeID()},
        {"{}", CFDictionaryGetTypeID()},
        {R"({"$data": ""})", CFDataGetTypeID()},
        {R"({"$date": 0})", CFDateGetTypeID()},
    };
    for (const auto& [text, type] : rows) {
        const Owned<CFTypeRef> object(createFromJson(json::parse(text)));
        EXPECT_EQ(CFGetTypeID(object.get()), type) << text;
    }
}

TEST_F(Json, NullIsNotAPropertyList) {
    EXPECT_EQ(createFromJson(nullptr), nullptr);
    const Owned<CFTypeRef> list(createFromJson(json::parse(R"([1, null, {"a": null}])")));
    EXPECT_EQ(toJson(list.get()), json::parse("[1, {}]"));
    EXPECT_EQ(toJson(nullptr), nullptr);
}

TEST_F(Json, ContainersOwnTheirParts) {
    const std::size_t before = simulator::liveObjects();
    const CFTypeRef object = createFromJson(json::parse(R"({"a": [1, "b", {"c": 2}]})"));
    EXPECT_GT(simulator::liveObjects(), before + 5);
    CFRelease(object);
    EXPECT_EQ(simulator::liveObjects(), before);
}

}  // namespace
}  // namespace tolvaran::tests
