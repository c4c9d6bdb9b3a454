#include "simulator/machine/mac_json.hpp"

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class MacJson : public SimulatorTest {};

/// Compares the machine's keys that are expected; others belong to other devices' parts.
void expectMachine(const json& expected) {
    json mac = machine();
    for (const auto& [key, value] : machine().items()) {
        if (!expected.contains(key)) {
            mac.erase(key);
        }
    }
    EXPECT_EQ(mac, expected);
}

TEST_F(MacJson, TheDefaultsAreOneDisplayAndNothingChanged) {
    expectMachine(json::parse(R"({
        "displays": [{"id": 1, "vendor": 0, "model": 0, "serial": 0,
                      "portUUID": "D15B1A70-0000-4000-8000-000000000001",
                      "frame": [0, 0, 1440, 900],
                      "modes": [{"number": 1, "flags": 0, "width": 1440, "height": 900,
                                 "depth": 8, "hz": 60, "density": 1}],
                      "mode": 1, "menuBarOverride": true, "spaceType": 0}],
        "mainDisplay": 1,
        "registry": [],
        "preferences": {},
        "dock": {"autoHide": false, "cornerActions": [1, 1, 1, 1],
                 "cornerModifiers": [0, 0, 0, 0]},
        "menuBar": {"autoHide": false, "activeDisplay": "D15B1A70-0000-4000-8000-000000000001"},
        "cursorAssociated": true,
        "applications": [],
        "unavailable": []})"));
}

const json& everything() {
    static const json mac = json::parse(R"({
        "displays": [
            {"id": 4294967295, "vendor": 1, "model": 2, "serial": 3, "portUUID": null,
             "frame": [-1440, 0.5, 1440, 900], "modes": [], "mode": null,
             "menuBarOverride": false, "spaceType": 4},
            {"id": 2, "vendor": 4, "model": 5, "serial": 4294967295,
             "portUUID": "abcdef01-2345-6789-abcd-ef0123456789", "frame": [0, 0, 1, 1],
             "modes": [{"number": -1, "flags": 4294967295, "width": -2147483648,
                        "height": 2147483647, "depth": 4, "hz": 59.5, "density": 2}],
             "mode": -1, "menuBarOverride": true, "spaceType": -1}],
        "mainDisplay": 4294967295,
        "registry": [{"IODisplayEDID": {"$data": "AAE="}, "nested": {"list": [1, 2.5, true]}}],
        "preferences": {"global": {"a": 1}, "com.apple.dock": {"date": {"$date": 0}}, "empty": {}},
        "dock": {"autoHide": true, "cornerActions": [1, 5, 10, 2147483647],
                 "cornerModifiers": [0, 131072, -1, 1048576]},
        "menuBar": {"autoHide": true, "activeDisplay": null},
        "cursorAssociated": false,
        "applications": [{"bundle": null, "pid": 1, "terminated": true},
                         {"bundle": "b", "pid": 2147483647, "terminated": false}],
        "unavailable": ["HIServices", "SLSCopyManagedDisplaySpaces", "SkyLight"]})");
    return mac;
}

TEST_F(MacJson, EveryKeySurvivesTheRoundTrip) {
    reset(everything());
    expectMachine(everything());
    reset(machine());
    expectMachine(everything());
}

TEST_F(MacJson, EveryDisplayHasAPortUUIDOfItsOwn) {
    reset(json::parse(R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1]},
                                       {"id": 2, "frame": [1, 0, 1, 1]}]})"));
    EXPECT_NE(machine()["displays"][0]["portUUID"], machine()["displays"][1]["portUUID"]);
}

TEST_F(MacJson, TheMainDisplayIsTheOneAtTheOrigin) {
    const struct {
        const char* displays;
        int main;
    } rows[] = {
        {R"([{"id": 5, "frame": [9, 0, 1, 1]}, {"id": 6, "frame": [0, 0, 1, 1]}])", 6},
        {R"([{"id": 5, "frame": [9, 0, 1, 1]}, {"id": 6, "frame": [8, 0, 1, 1]}])", 5},
        {"[]", 0},
    };
    for (const auto& [displays, main] : rows) {
        reset({{"displays", json::parse(displays)}});
        EXPECT_EQ(machine()["mainDisplay"], main) << displays;
    }
}

TEST_F(MacJson, MalformedMachinesAreRefused) {
    const struct {
        const char* mac;
        const char* message;
    } rows[] = {
        {"[]", "the document: must be an object"},
        {R"({"display": []})", "display: unknown key"},
        {R"({"displays": {}})", "displays: must be a list"},
        {R"({"displays": [1]})", "displays[0]: must be an object"},
        {R"({"displays": [{"frame": [0, 0, 1, 1]}]})", "displays[0].id: is missing"},
        {R"({"displays": [{"id": 1}]})", "displays[0].frame: is missing"},
        {R"({"displays": [{"id": 0, "frame": [0, 0, 1, 1]}]})",
         "displays[0].id: must be a whole number from 1 to 4294967295"},
        {R"({"displays": [{"id": 4294967296, "frame": [0, 0, 1, 1]}]})",
         "displays[0].id: must be a whole number from 1 to 4294967295"},
        {R"({"displays": [{"id": true, "frame": [0, 0, 1, 1]}]})",
         "displays[0].id: must be a whole number from 1 to 4294967295"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1]}]})",
         "displays[0].frame: must have 4 elements"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, "1"]}]})",
         "displays[0].frame[3]: must be a number"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, -1, 1]}]})",
         "displays[0].frame: must not have a negative width or height"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "name": "x"}]})",
         "displays[0].name: unknown key"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "vendor": -1}]})",
         "displays[0].vendor: must be a whole number from 0 to 4294967295"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "model": 0.5}]})",
         "displays[0].model: must be a whole number from 0 to 4294967295"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "serial": "1"}]})",
         "displays[0].serial: must be a whole number from 0 to 4294967295"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "portUUID": "x"}]})",
         "displays[0].portUUID: must be a UUID in the form 8-4-4-4-12, or null"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "portUUID": 1}]})",
         "displays[0].portUUID: must be a string"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "mode": "1"}]})",
         "displays[0].mode: must be a whole number from -2147483648 to 2147483647"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "menuBarOverride": 1}]})",
         "displays[0].menuBarOverride: must be true or false"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "spaceType": null}]})",
         "displays[0].spaceType: must be a whole number from -9223372036854775808 to "
         "9223372036854775807"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "modes": [{}]}]})",
         "displays[0].modes[0].number: is missing"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1], "modes": [{"number": 1, "hz": "60"}]}]})",
         "displays[0].modes[0].hz: must be a number"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1],
                           "modes": [{"number": 1, "refresh": 60}]}]})",
         "displays[0].modes[0].refresh: unknown key"},
        {R"({"displays": [{"id": 1, "frame": [0, 0, 1, 1]}, {"id": 1, "frame": [1, 0, 1, 1]}]})",
         "displays[1]: has the same id as an earlier one"},
        {R"({"mainDisplay": "1"})", "mainDisplay: must be a whole number from 0 to 4294967295"},
        {R"({"registry": {}})", "registry: must be a list"},
        {R"({"registry": [1]})", "registry[0]: must be an object"},
        {R"({"registry": [{"a": {"$data": "?"}}]})", "registry[0].a.$data: must be base64"},
        {R"({"registry": [{"a": {"$date": "now"}}]})", "registry[0].a.$date: must be a number"},
        {R"({"registry": [{"a": [null]}]})", "registry[0].a[0]: must not be null"},
        {R"({"preferences": []})", "preferences: must be an object"},
        {R"({"preferences": {"global": 1}})", "preferences.global: must be an object"},
        {R"({"preferences": {"global": {"a": [null]}}})",
         "preferences.global.a[0]: must not be null"},
        {R"({"dock": {"hidden": true}})", "dock.hidden: unknown key"},
        {R"({"dock": {"autoHide": 1}})", "dock.autoHide: must be true or false"},
        {R"({"dock": {"cornerActions": [1, 2, 3]}})", "dock.cornerActions: must have 4 elements"},
        {R"({"dock": {"cornerModifiers": [1, 2, 3, 2147483648]}})",
         "dock.cornerModifiers[3]: must be a whole number from -2147483648 to 2147483647"},
        {R"({"menuBar": {"hidden": true}})", "menuBar.hidden: unknown key"},
        {R"({"menuBar": {"autoHide": "yes"}})", "menuBar.autoHide: must be true or false"},
        {R"({"menuBar": {"activeDisplay": "1"}})",
         "menuBar.activeDisplay: must be a UUID in the form 8-4-4-4-12, or null"},
        {R"({"cursorAssociated": null})", "cursorAssociated: must be true or false"},
        {R"({"applications": [{"pid": 1}]})", "applications[0].bundle: is missing"},
        {R"({"applications": [{"bundle": 1, "pid": 1}]})",
         "applications[0].bundle: must be a string"},
        {R"({"applications": [{"bundle": "a"}]})", "applications[0].pid: is missing"},
        {R"({"applications": [{"bundle": "a", "pid": 0}]})",
         "applications[0].pid: must be a whole number from 1 to 2147483647"},
        {R"({"applications": [{"bundle": "a", "pid": 1}, {"bundle": "b", "pid": 1}]})",
         "applications[1]: has the same pid as an earlier one"},
        {R"({"applications": [{"bundle": "a", "pid": 1, "name": "A"}]})",
         "applications[0].name: unknown key"},
        {R"({"unavailable": "SkyLight"})", "unavailable: must be a list"},
        {R"({"unavailable": ["Skylight"]})",
         "unavailable[0]: is not a private symbol or library that is looked up at run time"},
    };
    reset({{"cursorAssociated", false}});
    const json before = machine();
    for (const auto& row : rows) {
        EXPECT_EQ(thrownBy([&] { reset(json::parse(row.mac)); }), row.message);
    }
    EXPECT_EQ(machine(), before) << "a refused machine changes nothing";
}

TEST_F(MacJson, TheActiveMenuBarIsOnTheMainDisplayUnlessGiven) {
    const std::string own2 = "D15B1A70-0000-4000-8000-000000000002";
    const std::string told = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    const struct {
        json rest;
        json activeDisplay;
    } rows[] = {
        {{{"mainDisplay", 2}}, own2},
        {{{"mainDisplay", 2}, {"menuBar", {{"autoHide", true}}}}, own2},
        {{{"mainDisplay", 2}, {"menuBar", {{"activeDisplay", told}}}}, told},
        {{{"mainDisplay", 2}, {"menuBar", {{"activeDisplay", nullptr}}}}, nullptr},
        {{{"mainDisplay", 3}}, nullptr},
        {{{"mainDisplay", 9}}, nullptr},
    };
    for (const auto& [rest, activeDisplay] : rows) {
        json mac = rest;
        mac["displays"] = json::parse(R"([{"id": 1, "frame": [0, 0, 100, 100]},
                                          {"id": 2, "frame": [100, 0, 100, 100]},
                                          {"id": 3, "frame": [200, 0, 100, 100],
                                           "portUUID": null}])");
        reset(mac);
        EXPECT_EQ(machine()["menuBar"]["activeDisplay"], activeDisplay) << rest;
    }
}

TEST_F(MacJson, SettingMergesObjectsAndReplacesLists) {
    reset(everything());
    set(json::parse(R"({
        "preferences": {"global": {"a": null, "b": 2}, "new": {"c": 3}},
        "dock": {"autoHide": false},
        "menuBar": {"activeDisplay": "abcdef01-2345-6789-abcd-ef0123456789"},
        "applications": [{"bundle": "c", "pid": 3}],
        "registry": [], "unavailable": [], "mainDisplay": 2, "cursorAssociated": true})"));
    json expected = everything();
    expected["preferences"] = json::parse(
        R"({"global": {"b": 2}, "com.apple.dock": {"date": {"$date": 0}}, "empty": {}, "new": {"c": 3}})");
    expected["dock"]["autoHide"] = false;
    expected["menuBar"]["activeDisplay"] = "abcdef01-2345-6789-abcd-ef0123456789";
    expected["applications"] = json::parse(R"([{"bundle": "c", "pid": 3, "terminated": false}])");
    expected["registry"] = json::array();
    expected["unavailable"] = json::array();
    expected["mainDisplay"] = 2;
    expected["cursorAssociated"] = true;
    expectMachine(expected);
    EXPECT_EQ(thrownBy([] { set({{"displays", json::array()}}); }), "displays: unknown key");
}

}  // namespace
}  // namespace tolvaran::tests
