#include "restore/arrangement/display_identity.hpp"

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "restore/arrangement/named_displays.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/twin_warning.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

constexpr const char* uuid1 = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
constexpr const char* uuid2 = "11111111-2222-3333-4444-55555555ABCD";

json display(CGDirectDisplayID id, json numbers, json portUUID = uuid1) {
    return {{"id", id},
            {"vendor", numbers.at(0)},
            {"model", numbers.at(1)},
            {"serial", numbers.at(2)},
            {"portUUID", std::move(portUUID)},
            {"frame", {0, 0, 100, 100}}};
}

/// A display connection of vendor 1552 and model 41234, except for the given properties.
json connection(json properties) {
    json result = {{"DisplayVendorID", 1552}, {"DisplayProductID", 41234}};
    result.update(properties);
    return result;
}

json withSerial(const std::string& serial) {
    return connection({{"DisplaySerialString", serial}});
}

// Each start() begins a new process, after checking that the last one left nothing behind.
class DisplayIdentityTest : public ProcessTest {};

TEST_F(DisplayIdentityTest, FingerprintIsVendorModelAndSerial) {
    struct Case {
        json numbers;
        json registry;
        std::optional<std::string> fingerprint;
    };
    const json serial = json::array({withSerial("SC02XK1ABCDE")});
    const Case cases[] = {
        {{1552, 41234, 16843009}, json::array(), "1552-41234-16843009"},
        {{1552, 41234, 16843009}, serial, "1552-41234-16843009"},
        {{1552, 41234, 0}, serial, "1552-41234-SSC02XK1ABCDE"},
        {{1552, 41234, 0}, json::array(), "1552-41234-0"},
        {{1552, 41234, 0}, json::array({withSerial("")}), "1552-41234-0"},
        {{1552, 41235, 0}, serial, "1552-41235-0"},
        {{0, 41234, 5}, serial, std::nullopt},
        {{1552, 0, 5}, serial, std::nullopt},
        {{0, 0, 0}, serial, std::nullopt},
        {{4294967295, 4294967295, 4294967295}, serial, "4294967295-4294967295-4294967295"},
        {{1, 1, 1}, serial, "1-1-1"},
    };
    for (const Case& c : cases) {
        start({{"displays", json::array({display(7, c.numbers)})}, {"registry", c.registry}});
        EXPECT_EQ(displayHardwareFingerprint(7), c.fingerprint) << c.numbers << c.registry;
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(DisplayIdentityTest, ADisplayThatIsGoneHasNoFingerprint) {
    start({{"displays", json::array({display(7, {1, 2, 3})})}});
    EXPECT_EQ(displayHardwareFingerprint(8), std::nullopt);
    EXPECT_EQ(displayUUID(8), "Display-8");
}

TEST_F(DisplayIdentityTest, EdidSerialComesFromTheFirstMatchingConnectionThatHasOne) {
    struct Case {
        std::string what;
        json registry;
        std::optional<std::string> serial;
    };
    const json another = {
        {"DisplayVendorID", 1552}, {"DisplayProductID", 1}, {"DisplaySerialString", "X"}};
    const json others = {
        {"DisplayVendorID", 1}, {"DisplayProductID", 41234}, {"DisplaySerialString", "X"}};
    const json noVendor = {{"DisplayProductID", 41234}, {"DisplaySerialString", "X"}};
    const json noModel = {{"DisplayVendorID", 1552}, {"DisplaySerialString", "X"}};
    const json number = connection({{"DisplaySerialString", 12345}});
    const json boolean = connection({{"DisplaySerialString", true}});
    const json array = connection({{"DisplaySerialString", json::array({"A"})}});
    const json data = connection({{"DisplaySerialString", {{"$data", "QUJD"}}}});
    const std::string umlautAndEmoji = "\xc3\xa4 ,\"\xf0\x9f\x98\x80";
    const json a = withSerial("A");
    const Case cases[] = {
        {"no connections", json::array(), std::nullopt},
        {"one", json::array({a}), "A"},
        {"registry order", json::array({withSerial("B"), a}), "B"},
        {"an empty serial is passed over", json::array({withSerial(""), a}), "A"},
        {"only empty serials", json::array({withSerial(""), withSerial("")}), std::nullopt},
        {"no serial is passed over", json::array({connection(json::object()), a}), "A"},
        {"no properties are passed over", json::array({json::object(), a}), "A"},
        {"another model", json::array({another, a}), "A"},
        {"another vendor", json::array({others, a}), "A"},
        {"no vendor", json::array({noVendor}), std::nullopt},
        {"no model", json::array({noModel}), std::nullopt},
        {"other characters", json::array({withSerial(umlautAndEmoji)}), umlautAndEmoji},
        {"the serial is a number", json::array({number, a}), "A"},
        {"the serial is a boolean", json::array({boolean, a}), "A"},
        {"the serial is a list", json::array({array, a}), "A"},
        {"the serial is data", json::array({data, a}), "A"},
    };
    for (const Case& c : cases) {
        start({{"registry", c.registry}});
        EXPECT_EQ(edidSerialString(1552, 41234), c.serial) << c.what;
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(DisplayIdentityTest, EdidNumbersMustBeWholeAndFitIn32UnsignedBits) {
    struct Case {
        json number;  // in the registry
        std::uint32_t wanted;
        bool matches;
    };
    const Case cases[] = {
        {1552, 1552, true},
        {0, 0, true},
        {4294967295, 4294967295U, true},
        {4294967296, 0, false},
        {4294967296 + 1552, 1552, false},
        {-1, 4294967295U, false},
        {-2744, 4294964552U, false},
        {1552.0, 1552, true},
        {1552.5, 1552, false},
        {1e300, 4294967295U, false},
        {true, 1, true},  // the system stores some numbers as booleans
        {true, 1552, false},
        {"1552", 1552, false},
        {json::array({1552}), 1552, false},
        {{{"value", 1552}}, 1552, false},
        {{{"$data", "EAYAAA=="}}, 1552, false},
    };
    for (const Case& c : cases) {
        const auto expected = c.matches ? std::optional<std::string>("A") : std::nullopt;
        const json ofVendor =
            connection({{"DisplayVendorID", c.number}, {"DisplaySerialString", "A"}});
        start({{"registry", json::array({ofVendor})}});
        EXPECT_EQ(edidSerialString(c.wanted, 41234), expected) << "vendor " << c.number;
        const json ofModel =
            connection({{"DisplayProductID", c.number}, {"DisplaySerialString", "A"}});
        start({{"registry", json::array({ofModel})}});
        EXPECT_EQ(edidSerialString(1552, c.wanted), expected) << "model " << c.number;
    }
}

TEST_F(DisplayIdentityTest, ARegistryThatRefusesOnlyHidesTheSerial) {
    struct Case {
        json fault;
        std::string fingerprint;
    };
    constexpr int refused = 5;
    const Case cases[] = {
        {{{"call", "IOServiceMatching"}, {"effect", false}}, "1552-41234-0"},
        {{{"call", "IOServiceGetMatchingServices"}, {"result", refused}}, "1552-41234-0"},
        {{{"call", "IOServiceGetMatchingServices"}, {"result", refused}, {"effect", true}},
         "1552-41234-0"},
        {{{"call", "IOServiceGetMatchingServices"}, {"result", 0}}, "1552-41234-0"},
        {{{"call", "IOIteratorNext"}, {"result", 0}}, "1552-41234-0"},
        {{{"call", "IOIteratorNext"}, {"result", 0}, {"skip", 1}}, "1552-41234-SA"},
        {{{"call", "IORegistryEntryCreateCFProperties"}, {"result", refused}}, "1552-41234-0"},
        {{{"call", "IORegistryEntryCreateCFProperties"}, {"result", refused}, {"effect", true}},
         "1552-41234-0"},
        {{{"call", "IORegistryEntryCreateCFProperties"}, {"result", refused}, {"times", 1}},
         "1552-41234-SB"},
        {{{"call", "IORegistryEntryCreateCFProperties"}, {"result", 0}, {"times", 1}},
         "1552-41234-SB"},
    };
    for (const Case& c : cases) {
        start({{"displays", json::array({display(7, {1552, 41234, 0})})},
               {"registry", json::array({withSerial("A"), withSerial("B")})}});
        simulator::addFault(c.fault);
        EXPECT_EQ(displayHardwareFingerprint(7), c.fingerprint) << c.fault;
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(DisplayIdentityTest, PortUUIDIsTheWindowServersTextOrTheNumber) {
    const std::pair<json, std::string> cases[] = {
        {uuid1, uuid1},
        {"37d8832a-2d66-02ca-b9f7-8f30a301b230", uuid1},
        {nullptr, "Display-4294967295"},
    };
    for (const auto& [portUUID, expected] : cases) {
        start({{"displays", json::array({display(4294967295, {1, 2, 3}, portUUID)})}});
        EXPECT_EQ(displayPortUUID(4294967295), expected);
    }
    EXPECT_EQ(displayPortUUID(5), "Display-5");
    simulator::addFault({{"call", "CGDisplayCreateUUIDFromDisplayID"}, {"effect", false}});
    EXPECT_EQ(displayPortUUID(4294967295), "Display-4294967295");
    EXPECT_EQ(takeLog(), Lines());
}

struct UUIDCase {
    std::string what;
    json displays;
    std::optional<std::vector<CGDirectDisplayID>> all;
    std::string uuid;  // of display 7
    Lines log;
};

TEST_F(DisplayIdentityTest, DisplayUUIDTellsTwinsApart) {
    const json one = display(7, {10, 20, 30});
    const json twin = display(8, {10, 20, 30}, uuid2);
    const json other = display(8, {10, 20, 31}, uuid2);
    const Lines warning = {twinWarning("10-20-30")};
    const UUIDCase cases[] = {
        {"alone", json::array({one}), {{7}}, "HW-10-20-30", {}},
        {"without the whole list", json::array({one, twin}), std::nullopt, "HW-10-20-30", {}},
        {"an empty list", json::array({one, twin}), {{}}, "HW-10-20-30", {}},
        {"a different display", json::array({one, other}), {{7, 8}}, "HW-10-20-30", {}},
        {"twins", json::array({one, twin}), {{7, 8}}, uuid1, warning},
        {"twins, listed the other way round", json::array({one, twin}), {{8, 7}}, uuid1, warning},
        {"the display itself is not listed", json::array({one, twin}), {{8}}, "HW-10-20-30", {}},
        {"two others like it",
         json::array({one, twin, display(9, {10, 20, 30})}),
         {{8, 9}},
         uuid1,
         warning},
        {"listed twice", json::array({one}), {{7, 7}}, uuid1, warning},
        {"the twin is gone", json::array({one}), {{7, 8}}, "HW-10-20-30", {}},
        {"twins, one without a port UUID",
         json::array({display(7, {10, 20, 30}, nullptr), twin}),
         {{7, 8}},
         "Display-7",
         warning},
        {"no vendor",
         json::array({display(7, {0, 20, 30}), display(8, {0, 20, 30})}),
         {{7, 8}},
         uuid1,
         {}},
        {"no model", json::array({display(7, {10, 0, 30})}), {{7}}, uuid1, {}},
        {"neither fingerprint nor port UUID",
         json::array({display(7, {0, 0, 0}, nullptr)}),
         {{7}},
         "Display-7",
         {}},
    };
    for (const UUIDCase& c : cases) {
        start({{"displays", c.displays}});
        EXPECT_EQ(displayUUID(7, c.all), c.uuid) << c.what;
        EXPECT_EQ(takeLog(), c.log) << c.what;
    }
}

TEST_F(DisplayIdentityTest, TwinsWithoutSerialNumbersAreToldApartToo) {
    const json twins =
        json::array({display(7, {1552, 41234, 0}), display(8, {1552, 41234, 0}, uuid2)});
    const std::pair<json, std::string> cases[] = {
        {json::array(), "1552-41234-0"},
        {json::array({withSerial("A"), withSerial("B")}), "1552-41234-SA"},
    };
    for (const auto& [registry, fingerprint] : cases) {
        start({{"displays", twins}, {"registry", registry}});
        EXPECT_EQ(displayUUID(7, {{7, 8}}), uuid1);
        EXPECT_EQ(displayUUID(8, {{7, 8}}), uuid2);
        EXPECT_EQ(displayUUID(8, {{8}}), "HW-" + fingerprint);
        const std::string line = twinWarning(fingerprint);
        EXPECT_EQ(takeLog(), (Lines{line, line}));
    }
}

/// The display UUIDs of displays that are named together.
Lines uuidsOf(const std::vector<CGDirectDisplayID>& displays) {
    Lines uuids;
    for (const NamedDisplay& display : namedDisplays(displays, AliasLoading::afterNaming)) {
        uuids.push_back(display.uuid);
    }
    return uuids;
}

TEST_F(DisplayIdentityTest, NamingAllTogetherGivesTheSameNames) {
    start({{"displays", json::array({display(9, {10, 20, 30}, uuid2), display(7, {10, 20, 30}),
                                     display(8, {10, 20, 31}), display(6, {0, 20, 30}, nullptr),
                                     display(5, {10, 21, 0}), display(4, {0, 20, 30}, nullptr)})},
           {"registry", json::array()}});
    const std::vector<CGDirectDisplayID> all = {9, 7, 8, 6, 5, 4, 3};
    EXPECT_EQ(uuidsOf(all), (Lines{uuid2, uuid1, "HW-10-20-31", "Display-6", "HW-10-21-0",
                                   "Display-4", "Display-3"}));
    const Lines together = takeLog();
    Lines names;
    for (const CGDirectDisplayID id : all) {
        names.push_back(displayUUID(id, all));
    }
    EXPECT_EQ(uuidsOf(all), names);
    const std::string line = twinWarning("10-20-30");
    EXPECT_EQ(together, (Lines{line, line}));
    EXPECT_EQ(takeLog(), (Lines{line, line, line, line}));
}

TEST_F(DisplayIdentityTest, ADisplayPluggedInBetweenTwoCallsIsSeen) {
    start({{"displays", json::array({display(7, {10, 20, 30})})}});
    EXPECT_EQ(displayUUID(7, {{7, 8}}), "HW-10-20-30");
    simulator::perform({{"connect", display(8, {10, 20, 30}, uuid2)}});
    EXPECT_EQ(displayUUID(7, {{7, 8}}), uuid1);
    simulator::perform({{"disconnect", 8}});
    EXPECT_EQ(displayUUID(7, {{7, 8}}), "HW-10-20-30");
}

TEST_F(DisplayIdentityTest, NothingOnTheMacIsChanged) {
    start({{"displays",
            json::array({display(7, {1552, 41234, 0}), display(8, {1552, 41234, 0}, uuid2)})},
           {"registry", json::array({withSerial("A")})}});
    displayUUID(7, {{7, 8}});
    EXPECT_EQ(simulator::calls(), json::array());
}

}  // namespace
}  // namespace tolvaran::tests
