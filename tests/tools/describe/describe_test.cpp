#include "tools/describe/describe.hpp"

#include <limits>
#include <sstream>
#include <vector>

#include "simulator/devices/display_modes.hpp"
#include "simulator/machine/machine.hpp"
#include "tests/tools/describe/describe_mac.hpp"
#include "tools/describe/displays.hpp"

namespace tolvaran {
namespace {

using nlohmann::json;
using tests::described;
using tests::fullMac;

/// The description of the full Mac, altered.
describe::Description altered(const std::function<void()>& alter) {
    return described(fullMac(), json::array(), alter);
}

/// What a fault removes from the description, a path such as "/displays/0/modes", and the note
/// about it.
struct Refusal {
    json fault;
    std::string key;  // gone from the description
    std::string note;
};

const std::string noSpace = "the window server lists no space of this display";
const std::string noCorners = "the running Dock could not be asked for its hot corners";

const std::vector<Refusal> refusals = {
    {{{"call", "CGGetActiveDisplayList"}, {"result", 1000}},
     "/displays",
     "displays is left out: the window server did not list them"},
    {{{"call", "CGGetActiveDisplayList"}, {"skip", 1}, {"result", 1000}},
     "/displays",
     "displays is left out: the window server did not list them"},
    {{{"call", "CGSGetNumberOfDisplayModes"}, {"times", 1}, {"result", 1001}},
     "/displays/0/modes",
     "displays[0].modes is left out: CGSGetNumberOfDisplayModes returned 1001"},
    {{{"call", "CGSGetCurrentDisplayMode"}, {"skip", 1}, {"times", 1}, {"result", 1002}},
     "/displays/1/mode",
     "displays[1].mode is left out: CGSGetCurrentDisplayMode returned 1002"},
    {{{"call", "SLSCopyManagedDisplaySpaces"}, {"times", 1}, {"effect", false}},
     "/displays/0/spaceType",
     "displays[0].spaceType is left out: " + noSpace},
    {{{"call", "IOServiceMatching"}, {"effect", false}},
     "/registry",
     "registry is left out: the registry did not list the display connections"},
    {{{"call", "IOServiceGetMatchingServices"}, {"result", 5}},
     "/registry",
     "registry is left out: the registry did not list the display connections"},
    {{{"call", "IORegistryEntryCreateCFProperties"}, {"skip", 2}, {"result", 5}},
     "/registry/2",
     "registry[2] is left out: the registry did not give its properties"},
    {{{"call", "CoreDockGetExposeCornerActionsWithModifiers"}, {"effect", false}},
     "/dock/cornerActions",
     "dock.cornerActions is left out: " + noCorners},
    {{{"call", "CoreDockGetExposeCornerActionsWithModifiers"}, {"effect", false}},
     "/dock/cornerModifiers",
     "dock.cornerModifiers is left out: " + noCorners},
    {{{"call", "SLSGetMenuBarAutohideEnabled"}, {"result", 1000}},
     "/menuBar/autoHide",
     "menuBar.autoHide is left out: the window server did not say"},
};

TEST(Describe, WhatCannotBeReadIsNotedAndLeftOutAndNothingElseIs) {
    const json whole = described(fullMac()).mac;
    for (const Refusal& refusal : refusals) {
        const auto [mac, notes] = described(fullMac(), json::array({refusal.fault}));
        const json::json_pointer key(refusal.key);
        EXPECT_TRUE(whole.contains(key)) << key;
        EXPECT_FALSE(mac.contains(key)) << key;
        EXPECT_THAT(notes, testing::Contains(refusal.note));
        for (const json& change : json::diff(whole, mac)) {
            EXPECT_EQ(change["op"], "remove") << change;
        }
    }
}

TEST(Describe, AModeThatIsNotDescribedStaysAsTheHelperSeesIt) {
    const json fault = {
        {"call", "CGSGetDisplayModeDescriptionOfLength"}, {"skip", 1}, {"times", 1}, {"result", 1}};
    const auto [mac, notes] = described(fullMac(), json::array({fault}));
    EXPECT_EQ(mac["displays"][0]["modes"][1], (json{{"number", 0},
                                                    {"flags", 0},
                                                    {"width", 0},
                                                    {"height", 0},
                                                    {"depth", 0},
                                                    {"hz", 0},
                                                    {"density", 0}}));
    EXPECT_EQ(mac["displays"][0]["modes"].size(), 4U);
    EXPECT_THAT(notes, testing::Contains("displays[0].modes[1] is all zeros: the window server did "
                                         "not describe it to the helper either"));
}

TEST(Describe, ANumberOfModesThatMakesNoSenseIsNoted) {
    for (const std::int32_t count : {-1, 4097}) {
        const auto [mac, notes] = altered([&] { simulator::devices::claimModeCount(1, count); });
        EXPECT_FALSE(mac["displays"][1].contains("modes"));
        EXPECT_THAT(notes, testing::Contains("displays[1].modes is left out: the display claims " +
                                             std::to_string(count) + " modes"));
    }
}

TEST(Describe, RatesAreWrittenAsPeopleWriteThem) {
    const std::vector<std::pair<double, std::string>> rows = {
        {60, "60"},         {59.94, "59.94"},   {59.939, "59.939"},
        {23.976, "23.976"}, {119.88, "119.88"}, {60000.0 / 1001, "59.94006"},
        {0, "0"},           {47.952, "47.952"}};
    for (const auto& [hz, text] : rows) {
        json mac = fullMac();
        mac["displays"][0]["modes"][0]["hz"] = hz;
        EXPECT_EQ(described(mac).mac["displays"][0]["modes"][0]["hz"].dump(), text);
    }
}

TEST(Describe, AnActiveDisplayThatIsNotNamedByAUUIDIsNoted) {
    const auto [mac, notes] = altered([] { simulator::mac().menuBar.activeDisplay = "Main"; });
    EXPECT_FALSE(mac["menuBar"].contains("activeDisplay"));
    EXPECT_THAT(notes, testing::Contains("menuBar.activeDisplay is left out: the window server "
                                         "names it \"Main\", not by a UUID"));
}

TEST(Describe, AValueThatJSONCannotHoldIsNoted) {
    json endless = std::numeric_limits<double>::infinity();
    const auto [mac, notes] = altered([&] {
        simulator::mac().preferences["global"]["_HIHideMenuBar"] = endless;
        simulator::mac().registry[0]["DisplayVendorID"] = endless;
    });
    EXPECT_EQ(mac["preferences"]["global"], (json{{"AppleMenuBarVisibleInFullscreen", 0}}));
    EXPECT_FALSE(mac["registry"][0].contains("DisplayVendorID"));
    EXPECT_THAT(notes,
                testing::IsSupersetOf(
                    {"preferences.global._HIHideMenuBar is left out: JSON cannot hold the "
                     "value",
                     "registry[0].DisplayVendorID is left out: JSON cannot hold the value"}));
}

TEST(Describe, UUIDsHaveOneForm) {
    EXPECT_TRUE(describe::isUUID("5c0f1a4e-9b1d-4e8c-8A55-1F6D3A1B7C02"));
    for (const char* const text :
         {"", "Main", "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C0",
          "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C022", "5C0F1A4E 9B1D-4E8C-8A55-1F6D3A1B7C02",
          "5C0F1A4G-9B1D-4E8C-8A55-1F6D3A1B7C02"}) {
        EXPECT_FALSE(describe::isUUID(text)) << text;
    }
}

TEST(Describe, IsWrittenAsJSONWithTheNotesApart) {
    const auto [mac, notes] = described(fullMac());
    forgetProcessWideValues();
    simulator::reset(fullMac());
    std::ostringstream out;
    std::ostringstream errors;
    EXPECT_EQ(describe::writeDescription(out, errors), 0);
    EXPECT_EQ(json::parse(out.str()), mac);
    EXPECT_EQ(errors.str(), notes.at(0) + "\n");
    EXPECT_THAT(out.str(), testing::HasSubstr("\n        {\"density\":1,\"depth\":8,"))
        << "a line for each mode";
    out.setstate(std::ios::badbit);
    EXPECT_EQ(describe::writeDescription(out, errors), 1);
}

}  // namespace
}  // namespace tolvaran
