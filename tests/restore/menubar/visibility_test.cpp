#include <gtest/gtest.h>

#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/spaces.hpp"
#include "simulator/devices/menu_bar.hpp"
#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string lowerCasePort = "aaaaaaaa-0000-4000-8000-000000000001";

/// A Mac on which every question has an answer, and the answer differs from a failure's.
json answeringMac() {
    json full = display(7, 1, 1, true);
    full["spaceType"] = 4;
    json mac = macWith({full});
    mac["menuBar"] = {{"autoHide", true}, {"activeDisplay", port(1)}};
    return mac;
}

TEST(MenuBarVisibility, EveryOperationDegradesWithTheFunctionsItNeeds) {
    for (const SkyLight& skyLight : SkyLight::all()) {
        SCOPED_TRACE(skyLight.missing());
        json mac = answeringMac();
        mac["unavailable"] = skyLight.missing();
        SimulatedProcess process(mac);
        const bool complete = skyLight.isComplete();
        EXPECT_EQ(MenuBarAutohide::supportsPerDisplayVisibility(), complete);
        EXPECT_EQ(MenuBarAutohide::visibilityOverride(7),
                  complete ? std::optional(true) : std::nullopt);
        EXPECT_EQ(MenuBarAutohide::setVisibilityOverride(false, 7), skyLight.hasConnectionAnd(3));
        EXPECT_EQ(menuBarOverride(7), !skyLight.hasConnectionAnd(3));
        EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(),
                  skyLight.hasConnectionAnd(1) ? std::optional(true) : std::nullopt);
        EXPECT_EQ(MenuBarAutohide::activeMenuBarDisplayIdentifier(),
                  skyLight.hasConnectionAnd(4) ? std::optional(port(1)) : std::nullopt);
        EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7),
                  skyLight.hasConnectionAnd(5) ? std::optional(true) : std::nullopt);
        EXPECT_EQ(process.takeWarnings(), skyLight.warnings());
    }
}

TEST(MenuBarVisibility, WithoutSkyLightNothingIsKnownAndNothingSet) {
    json mac = answeringMac();
    mac["unavailable"] = {"SkyLight"};
    SimulatedProcess process(mac);
    EXPECT_FALSE(MenuBarAutohide::supportsPerDisplayVisibility());
    EXPECT_EQ(MenuBarAutohide::visibilityOverride(7), std::nullopt);
    EXPECT_FALSE(MenuBarAutohide::setVisibilityOverride(false, 7));
    EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(), std::nullopt);
    EXPECT_EQ(MenuBarAutohide::activeMenuBarDisplayIdentifier(), std::nullopt);
    EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7), std::nullopt);
    EXPECT_EQ(process.takeWarnings(), Lines{unavailableWarning});
    EXPECT_EQ(callLines(), Lines{});
}

TEST(MenuBarVisibility, OverridesAreSetAndRead) {
    SimulatedProcess process(macWith({display(7, 1, 1, false), display(8, 2, 2, true)}));
    EXPECT_EQ(MenuBarAutohide::visibilityOverride(7), false);
    EXPECT_EQ(MenuBarAutohide::visibilityOverride(8), true);
    EXPECT_TRUE(MenuBarAutohide::setVisibilityOverride(true, 7));
    EXPECT_TRUE(MenuBarAutohide::setVisibilityOverride(false, 8));
    EXPECT_EQ(MenuBarAutohide::visibilityOverride(7), true);
    EXPECT_EQ(MenuBarAutohide::visibilityOverride(8), false);
    EXPECT_EQ(callLines(),
              (Lines{readsOverride(7, false), readsOverride(8, true), setsOverride(7, true),
                     setsOverride(8, false), readsOverride(7, true), readsOverride(8, false)}));
    EXPECT_EQ(process.takeWarnings(), Lines{});
}

TEST(MenuBarVisibility, ARefusedOverrideIsLogged) {
    SimulatedProcess process(macWith({display(4294967295U, 1, 1, true)}));
    for (const int code : {1000, -1}) {
        simulator::clearFaults();
        simulator::addFault(
            {{"call", "SLSSetMenuBarVisibilityOverrideOnDisplay"}, {"result", code}});
        EXPECT_FALSE(MenuBarAutohide::setVisibilityOverride(false, 4294967295U));
        EXPECT_EQ(process.takeWarnings(),
                  Lines{"SLSSetMenuBarVisibilityOverrideOnDisplay returned " +
                        std::to_string(code) + " for display 4294967295"});
    }
    EXPECT_TRUE(menuBarOverride(4294967295U));
}

TEST(MenuBarVisibility, RuntimeAutohideIsTheWindowServersOwn) {
    SimulatedProcess process(json{{"preferences", {{"global", {{hideKey, true}}}}}});
    EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(), false);
    simulator::set({{"menuBar", {{"autoHide", true}}}});
    EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(), true);
    EXPECT_EQ(process.takeWarnings(), Lines{});
}

TEST(MenuBarVisibility, RuntimeAutohideIsUnknownWhenRefused) {
    SimulatedProcess process(json{{"menuBar", {{"autoHide", true}}}});
    simulator::addFault(
        {{"call", "SLSGetMenuBarAutohideEnabled"}, {"result", -308}, {"effect", true}});
    EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(), std::nullopt);
    EXPECT_EQ(process.takeWarnings(), Lines{"SLSGetMenuBarAutohideEnabled returned -308"});
}

TEST(MenuBarVisibility, RuntimeAutohideIsOffWhenTheWindowServerDoesNotAnswer) {
    SimulatedProcess process(json{{"menuBar", {{"autoHide", true}}}});
    simulator::addFault({{"call", "SLSGetMenuBarAutohideEnabled"}, {"effect", false}});
    EXPECT_EQ(MenuBarAutohide::runtimeAutohideEnabled(), false);
    EXPECT_EQ(process.takeWarnings(), Lines{});
}

TEST(MenuBarVisibility, TheActiveDisplayMayBeUnknown) {
    SimulatedProcess process(json{{"menuBar", {{"activeDisplay", nullptr}}}});
    EXPECT_EQ(MenuBarAutohide::activeMenuBarDisplayIdentifier(), std::nullopt);
    simulator::set({{"menuBar", {{"activeDisplay", lowerCasePort}}}});
    EXPECT_EQ(MenuBarAutohide::activeMenuBarDisplayIdentifier(), lowerCasePort);
}

TEST(MenuBarVisibility, SpacesOfTypeFourAreFullscreen) {
    for (const int type : {0, 1, 2, 3, 4, 5, 104, -4}) {
        SCOPED_TRACE(type);
        json plain = display(7, 1, 1);
        json other = display(8, 2, 2);
        other["spaceType"] = type;
        SimulatedProcess process(macWith({plain, other}));
        EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7), false);
        EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(8), type == 4);
        EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(9), std::nullopt);
        EXPECT_EQ(MenuBarAutohide::currentSpaceType(7), 0);
        EXPECT_EQ(MenuBarAutohide::currentSpaceType(8), type);
        EXPECT_EQ(MenuBarAutohide::currentSpaceType(9), std::nullopt);
    }
}

json entry(const json& identifier, const json& space) {
    return {{"Display Identifier", identifier}, {"Current Space", space}};
}

json entryOfType(const json& identifier, const json& type) {
    return entry(identifier, {{"type", type}});
}

const json matching = entryOfType(port(1), 4);

struct Spaces {
    std::string name;
    json value;
    std::optional<bool> fullscreen;
};

const std::vector<Spaces> shapes = {
    {"as it should be", json::array({matching}), true},
    {"lower case", json::array({entryOfType(lowerCasePort, 4)}), true},
    {"null", nullptr, {}},
    {"not an array", "spaces", {}},
    {"a dictionary", matching, {}},
    {"empty", json::array(), {}},
    {"another display only", json::array({entryOfType(port(2), 4)}), {}},
    {"an element that is not a dictionary", json::array({matching, 4}), {}},
    {"an element that is an array", json::array({json::array(), matching}), {}},
    {"the first match counts", json::array({entryOfType(port(1), 0), matching}), false},
    {"the first match counts even without an answer",
     json::array({entryOfType(port(1), "4"), matching}),
     {}},
    {"no identifier", json::array({{{"Current Space", {{"type", 4}}}}}), {}},
    {"no identifier, then a match", json::array({{{"Current Space", {{"type", 0}}}}, matching}),
     true},
    {"identifier is a number, then a match", json::array({entryOfType(1, 0), matching}), true},
    {"identifier is longer", json::array({entryOfType(port(1) + "0", 4)}), {}},
    {"no space", json::array({{{"Display Identifier", port(1)}}}), {}},
    {"space is not a dictionary", json::array({entry(port(1), 4)}), {}},
    {"space without type", json::array({entry(port(1), {{"id", 4}})}), {}},
    {"type is text", json::array({entryOfType(port(1), "4")}), {}},
    {"type is a fraction", json::array({entryOfType(port(1), 4.9)}), true},
    {"type is a boolean", json::array({entryOfType(port(1), true)}), false},
    {"type is another number", json::array({entryOfType(port(1), 4294967300)}), false},
};

TEST(MenuBarVisibility, ManagedDisplaySpacesOfAnyShape) {
    for (const Spaces& shape : shapes) {
        SCOPED_TRACE(shape.name);
        SimulatedProcess process(macWith({display(7, 1, 1)}));
        simulator::devices::replaceManagedDisplaySpaces(shape.value);
        EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7), shape.fullscreen);
        EXPECT_EQ(process.takeWarnings(), Lines{});
    }
}

TEST(MenuBarVisibility, ADisplayWithoutPortUUIDIsLookedForByItsNumber) {
    json nameless = display(7, 1, 1);
    nameless["portUUID"] = nullptr;
    SimulatedProcess process(macWith({nameless}));
    EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7), std::nullopt);
    simulator::devices::replaceManagedDisplaySpaces(json::array({entryOfType("DISPLAY-7", 4)}));
    EXPECT_EQ(MenuBarAutohide::currentSpaceIsFullscreen(7), true);
}

}  // namespace
}  // namespace tolvaran::tests
