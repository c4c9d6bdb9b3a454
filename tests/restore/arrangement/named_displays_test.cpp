#include "restore/arrangement/named_displays.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "restore/arrangement/display_identity.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/twin_warning.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using IDs = std::vector<CGDirectDisplayID>;

constexpr const char* firstUUID = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
constexpr const char* secondUUID = "11111111-2222-3333-4444-55555555ABCD";

json displayWith(CGDirectDisplayID id, std::uint32_t serial,
                 const std::string& portUUID = firstUUID) {
    return {{"id", id},         {"vendor", 10},         {"model", 20},
            {"serial", serial}, {"portUUID", portUUID}, {"frame", {100 * id, 0, 100, 100}}};
}

json displays(CGDirectDisplayID count) {
    json result = json::array();
    for (CGDirectDisplayID id = count; id > 0; --id) {
        result.push_back(displayWith(id, id));
    }
    return result;
}

class NamedDisplaysTest : public ProcessTest {
  protected:
    void arrange(const json& list) { start({{"displays", list}}); }

    void writePreferences(const std::string& content) {
        writeFile(settings("preferences.json"), content);
    }
};

TEST_F(NamedDisplaysTest, AreListedInTheWindowServersOrderUpToTheLimit) {
    const std::tuple<CGDirectDisplayID, std::uint32_t, IDs> cases[] = {
        {3, 16, {3, 2, 1}}, {3, 3, {3, 2, 1}},
        {3, 2, {3, 2}},     {1, 16, {1}},
        {2, 0, {}},         {17, 16, {17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2}},
    };
    for (const auto& [count, limit, expected] : cases) {
        arrange(displays(count));
        EXPECT_EQ(activeDisplays(limit), expected) << count << " displays, limit " << limit;
    }
}

/// The canonical IDs of these displays.
Lines namesOf(const IDs& displays) {
    Lines ids;
    for (const NamedDisplay& display : namedDisplays(displays, AliasLoading::afterNaming)) {
        ids.push_back(display.canonicalID);
    }
    return ids;
}

TEST_F(NamedDisplaysTest, NoDisplaysAndAFailingCallGiveNone) {
    arrange(json::array());
    EXPECT_EQ(activeDisplays(16), IDs());
    for (const bool effect : {false, true}) {
        arrange(displays(2));
        simulator::addFault(
            {{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"effect", effect}});
        EXPECT_EQ(activeDisplays(16), IDs());
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(NamedDisplaysTest, CanonicalIDsAreTheDisplayUUIDsWithoutPreferences) {
    arrange(json::array({displayWith(3, 5), displayWith(1, 4)}));
    EXPECT_EQ(namesOf({3, 1}), (Lines{"HW-10-20-5", "HW-10-20-4"}));
    EXPECT_EQ(namesOf({1, 3}), (Lines{"HW-10-20-4", "HW-10-20-5"}));
    EXPECT_EQ(namesOf({}), Lines());
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(NamedDisplaysTest, CanonicalIDsAreFoldedThroughTheAliasMap) {
    writePreferences(R"({"knownDisplays":[{"ids":["main","HW-10-20-5"]}]})");
    arrange(json::array({displayWith(3, 5), displayWith(1, 4)}));
    EXPECT_EQ(namesOf({3, 1}), (Lines{"main", "HW-10-20-4"}));
}

TEST_F(NamedDisplaysTest, TwinsAreToldApartByTheWholeListBeforeTheyAreFolded) {
    writePreferences(R"({"knownDisplays":[{"ids":["left",")" + std::string(firstUUID) + R"("]}]})");
    arrange(json::array({displayWith(3, 5, firstUUID), displayWith(1, 5, secondUUID)}));
    EXPECT_EQ(namesOf({3, 1}), (Lines{"left", secondUUID}));
    const std::string line = twinWarning("10-20-5");
    EXPECT_EQ(takeLog(), (Lines{line, line}));
}

TEST_F(NamedDisplaysTest, TheAliasMapIsLoadedWhenTheCallerSays) {
    writePreferences("{");
    arrange(json::array({displayWith(3, 5, firstUUID), displayWith(1, 5, secondUUID)}));
    const std::string twin = twinWarning("10-20-5");
    const std::string aliases =
        "warn: AliasMap: preferences.json unparseable, falling back to identity";
    namedDisplays({3, 1}, AliasLoading::afterNaming);
    EXPECT_EQ(takeLog(), (Lines{twin, twin, aliases}));
    namedDisplays({3, 1}, AliasLoading::beforeNaming);
    EXPECT_EQ(takeLog(), (Lines{aliases, twin, twin}));
}

TEST_F(NamedDisplaysTest, TheLastDisplayOfACanonicalIDCounts) {
    using Map = std::map<std::string, CGDirectDisplayID>;
    const auto mapOf = [](const std::vector<std::pair<CGDirectDisplayID, std::string>>& ids) {
        std::vector<NamedDisplay> displays;
        for (const auto& [display, id] : ids) {
            displays.push_back({.displayID = display, .canonicalID = id});
        }
        return displaysByCanonicalID(displays);
    };
    EXPECT_EQ(mapOf({}), Map());
    EXPECT_EQ(mapOf({{3, "b"}, {1, "a"}}), (Map{{"a", 1}, {"b", 3}}));
    EXPECT_EQ(mapOf({{3, "a"}, {1, "b"}, {2, "a"}}), (Map{{"a", 2}, {"b", 1}}));
}

TEST_F(NamedDisplaysTest, EachHasAllItsNames) {
    json withoutHardware = displayWith(2, 5, secondUUID);
    withoutHardware["vendor"] = 0;
    arrange(json::array({displayWith(3, 4), withoutHardware}));
    std::vector<NamedDisplay> expected{{.displayID = 3,
                                        .fingerprintID = "HW-10-20-4",
                                        .portUUID = firstUUID,
                                        .uuid = "HW-10-20-4",
                                        .canonicalID = "HW-10-20-4"},
                                       {.displayID = 2,
                                        .fingerprintID = std::nullopt,
                                        .portUUID = secondUUID,
                                        .uuid = secondUUID,
                                        .canonicalID = secondUUID}};
    for (const auto loading : {AliasLoading::beforeNaming, AliasLoading::afterNaming}) {
        EXPECT_EQ(namedDisplays({3, 2}, loading), expected);
    }
    writePreferences(R"({"knownDisplays":[{"ids":["main","HW-10-20-4"]}]})");
    expected[0].canonicalID = "main";
    for (const auto loading : {AliasLoading::beforeNaming, AliasLoading::afterNaming}) {
        EXPECT_EQ(namedDisplays({3, 2}, loading), expected);
    }
}

TEST_F(NamedDisplaysTest, ATwinKeepsItsFingerprint) {
    arrange(json::array({displayWith(3, 4), displayWith(2, 4, secondUUID)}));
    for (const NamedDisplay& display : namedDisplays({3, 2}, AliasLoading::afterNaming)) {
        EXPECT_EQ(display.fingerprintID, "HW-10-20-4");
        EXPECT_EQ(display.uuid, display.portUUID);
    }
}

TEST_F(NamedDisplaysTest, TheHardwareOfEachIsReadOnce) {
    arrange(json::array({displayWith(7, 30), displayWith(8, 30, secondUUID), displayWith(9, 0)}));
    std::map<std::string, int> calls;
    simulator::decideCalls([&](const std::string& function) {
        ++calls[function];
        return json();
    });
    namedDisplays({7, 8, 9}, AliasLoading::afterNaming);
    simulator::decideCalls(nullptr);
    for (const char* const function :
         {"CGDisplayVendorNumber", "CGDisplayModelNumber", "CGDisplaySerialNumber",
          "CGDisplayCreateUUIDFromDisplayID"}) {
        EXPECT_EQ(calls[function], 3) << function;
    }
    EXPECT_EQ(calls["IOServiceGetMatchingServices"], 1);
    EXPECT_EQ(namedDisplays({}, AliasLoading::afterNaming), std::vector<NamedDisplay>());
}

}  // namespace
}  // namespace tolvaran::tests
