#include "restore/menubar/global_preferences.hpp"

#include <gtest/gtest.h>

#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/support/cf_ref.hpp"
#include "simulator/core_foundation/json.hpp"
#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Value = std::optional<std::int64_t>;
using Snapshot = MenuBarAutohideSnapshot;

const std::string markerKey = "TolvaranMenuBarPolicyChange";

json macWithPreferences(const json& global) {
    return {{"preferences", {{"global", global}}}};
}

struct Reading {
    json stored;  // null: not set
    Value read;
};

const std::vector<Reading> readings = {
    {nullptr, {}},
    {true, 1},
    {false, 0},
    {0, 0},
    {1, 1},
    {2, 1},
    {-1, 1},
    {4294967296, 1},
    {0.0, 0},
    {0.5, 0},
    {-0.5, 0},
    {1.5, 1},
    {"1", {}},
    {"YES", {}},
    {json::array(), {}},
    {json::array({1}), {}},
    {json::object(), {}},
    {{{"$data", "AQ=="}}, {}},
    {{{"$date", 1}}, {}},
};

TEST(MenuBarGlobalPreferences, AreReadAsZeroOrOneFromNumbersOnly) {
    for (const Reading& hide : readings) {
        for (const Reading& visible : readings) {
            SimulatedProcess process(macWithPreferences(
                {{hideKey, hide.stored}, {visibleInFullscreenKey, visible.stored}}));
            EXPECT_EQ(MenuBarAutohide::readCurrent(),
                      (Snapshot{.hideMenuBar = hide.read, .visibleInFullscreen = visible.read}))
                << hide.stored << " " << visible.stored;
            EXPECT_EQ(callLines(), Lines{});
            EXPECT_EQ(process.takeWarnings(), Lines{});
        }
    }
}

TEST(MenuBarGlobalPreferences, AreReadFromTheGlobalDomain) {
    SimulatedProcess process(
        json{{"preferences",
              {{"com.morvelli.Tolvaran", {{hideKey, true}}}, {"global", json::object()}}}});
    EXPECT_EQ(MenuBarAutohide::readCurrent(), Snapshot{});
}

TEST(MenuBarGlobalPreferences, AreReadWithOneRecordForEachDisplayInTheGivenOrder) {
    json mac = macWith({display(7, 1, 1, false), display(8, 2, 2, true)});
    mac["preferences"] = {{"global", {{hideKey, true}}}};
    SimulatedProcess process(mac);
    const MenuBarDisplayIdentity first(8, "canonical", std::nullopt, port(2));
    const MenuBarDisplayIdentity second(7, hardwareID(1), "hardware", port(1));
    EXPECT_EQ(MenuBarAutohide::readCurrent({first, second}),
              (Snapshot{.hideMenuBar = 1,
                        .displayVisibilityOverrides = {{{.canonicalID = "canonical",
                                                         .hardwareID = "canonical",
                                                         .portUUID = port(2),
                                                         .enabled = true},
                                                        {.canonicalID = hardwareID(1),
                                                         .hardwareID = "hardware",
                                                         .portUUID = port(1),
                                                         .enabled = false}}}}));
    EXPECT_EQ(callLines(), (Lines{readsOverride(8, true), readsOverride(7, false)}));
}

TEST(MenuBarGlobalPreferences, AreReadWithAnEmptyListForNoDisplays) {
    SimulatedProcess process;
    EXPECT_EQ(
        MenuBarAutohide::readCurrent(std::vector<MenuBarDisplayIdentity>{}),
        (Snapshot{.displayVisibilityOverrides = std::vector<MenuBarDisplayVisibilityOverride>{}}));
}

TEST(MenuBarGlobalPreferences, AreNotReadIfTheDisplaysCannotBeRead) {
    for (const SkyLight& skyLight : SkyLight::all()) {
        json mac = macWith({display(7, 1, 1)});
        mac["unavailable"] = skyLight.missing();
        SimulatedProcess process(mac);
        EXPECT_EQ(MenuBarAutohide::readCurrent({{7, "c", std::nullopt, port(1)}}).has_value(),
                  skyLight.isComplete())
            << skyLight.missing();
        EXPECT_EQ(process.takeWarnings(), skyLight.warnings());
    }
}

/// A change of both preferences, on a Mac that may refuse.
struct Change {
    Value hide;
    Value visibleInFullscreen;
    bool synchronizes;
    int switchResult;

    Snapshot snapshot() const {
        return {.hideMenuBar = hide,
                .visibleInFullscreen = visibleInFullscreen,
                .displayVisibilityOverrides = {{recordOf(1, 1, true)}}};
    }
    std::string description() const {
        return json::array({hide ? json(*hide) : json(),
                            visibleInFullscreen ? json(*visibleInFullscreen) : json(), synchronizes,
                            switchResult})
            .dump();
    }
};

std::vector<Change> everyChange() {
    std::vector<Change> changes;
    const std::vector<Value> values = {{}, 0, 1, 2, -1};
    for (const Value& hide : values) {
        for (const Value& visibleInFullscreen : values) {
            for (const bool synchronizes : {true, false}) {
                for (const int switchResult : {0, 1000, -1}) {
                    changes.push_back({hide, visibleInFullscreen, synchronizes, switchResult});
                }
            }
        }
    }
    return changes;
}

/// A Mac where everything is the opposite of what the change wants.
json macBefore(const Change& change) {
    json mac = macWithPreferences(
        {{hideKey, "before"}, {visibleInFullscreenKey, "before"}, {"AppleLocale", "de_CH"}});
    mac["menuBar"] = {{"autoHide", change.hide.value_or(0) == 0}};
    return mac;
}

void addFaults(const Change& change) {
    if (!change.synchronizes) {
        simulator::addFault({{"call", "CFPreferencesSynchronize"}, {"result", false}});
    }
    if (change.switchResult != 0) {
        simulator::addFault(
            {{"call", "CGSSetMenuBarAutohideEnabled"}, {"result", change.switchResult}});
    }
}

Switch written(const Value& value) {
    return value ? Switch(*value != 0) : std::nullopt;
}

json preferencesAfter(const Change& change) {
    json global = {{"AppleLocale", "de_CH"}};
    if (change.hide) {
        global[hideKey] = *change.hide != 0;
    }
    if (change.visibleInFullscreen) {
        global[visibleInFullscreenKey] = *change.visibleInFullscreen != 0;
    }
    return global;
}

TEST(MenuBarGlobalPreferences, AreAppliedInOrderWhateverFails) {
    for (const Change& change : everyChange()) {
        SCOPED_TRACE(change.description());
        SimulatedProcess process(macBefore(change));
        addFaults(change);
        const bool wanted = change.hide.value_or(0) != 0;
        EXPECT_EQ(MenuBarAutohide::applyGlobal(change.snapshot()),
                  change.synchronizes && change.switchResult == 0);
        EXPECT_EQ(callLines(),
                  appliesGlobal(written(change.hide), written(change.visibleInFullscreen),
                                change.synchronizes, change.switchResult));
        Lines warnings;
        if (!change.synchronizes) {
            warnings.emplace_back("CFPreferencesSynchronize returned false for menu bar prefs");
        }
        if (change.switchResult != 0) {
            warnings.push_back("CGSSetMenuBarAutohideEnabled returned " +
                               std::to_string(change.switchResult));
        }
        EXPECT_EQ(process.takeWarnings(), warnings);
        EXPECT_EQ(globalPreferences(), preferencesAfter(change));
        EXPECT_EQ(autoHides(), (change.switchResult == 0) == wanted);
    }
}

TEST(MenuBarGlobalPreferences, AreStoredWithoutBeingApplied) {
    for (const Change& change : everyChange()) {
        SCOPED_TRACE(change.description());
        SimulatedProcess process(macBefore(change));
        addFaults(change);
        const bool autoHidBefore = autoHides();
        EXPECT_EQ(MenuBarAutohide::writeStoredPreference(change.snapshot()), change.synchronizes);
        EXPECT_EQ(callLines(), stores(written(change.hide), written(change.visibleInFullscreen),
                                      change.synchronizes));
        EXPECT_EQ(process.takeWarnings(),
                  change.synchronizes
                      ? Lines{}
                      : Lines{"CFPreferencesSynchronize returned false for stored menu bar prefs"});
        EXPECT_EQ(globalPreferences(), preferencesAfter(change));
        EXPECT_EQ(autoHides(), autoHidBefore);
    }
}

TEST(MenuBarGlobalPreferences, AlwaysHideMeansInFullScreenToo) {
    SimulatedProcess process;
    EXPECT_TRUE(MenuBarAutohide::writeAlways());
    EXPECT_EQ(callLines(), appliesGlobal(true, false));
    EXPECT_EQ(globalPreferences(), (json{{hideKey, true}, {visibleInFullscreenKey, false}}));
    EXPECT_TRUE(autoHides());
    EXPECT_EQ(process.takeWarnings(), Lines{});
}

TEST(MenuBarGlobalPreferences, AlwaysHideFailsWithEitherPart) {
    for (const Change& trouble :
         {Change{1, 0, false, 0}, Change{1, 0, true, 1000}, Change{1, 0, false, 1000}}) {
        SCOPED_TRACE(trouble.description());
        SimulatedProcess process;
        addFaults(trouble);
        EXPECT_FALSE(MenuBarAutohide::writeAlways());
        EXPECT_EQ(callLines(),
                  appliesGlobal(true, false, trouble.synchronizes, trouble.switchResult));
        EXPECT_FALSE(process.takeWarnings().empty());
    }
}

TEST(MenuBarGlobalPreferences, ChangesAreAnnouncedByTwoNotifications) {
    SimulatedProcess process;
    MenuBarAutohide::writeAlways();
    const json posted = simulator::notifications();
    ASSERT_EQ(posted.size(), MenuBarAutohide::changeNotificationNames.size());
    for (std::size_t index = 0; index < posted.size(); ++index) {
        EXPECT_EQ(posted[index]["name"], MenuBarAutohide::changeNotificationNames[index]);
        EXPECT_EQ(posted[index]["userInfo"], (json{{markerKey, true}}));
    }
}

bool isPolicyNotification(const json& userInfo) {
    const auto object = CFRef<CFTypeRef>::assume(simulator::cf::createFromJson(userInfo));
    return MenuBarAutohide::isTolvaranPolicyNotification(
        static_cast<CFDictionaryRef>(object.get()));
}

TEST(MenuBarGlobalPreferences, OwnNotificationsAreRecognisedByTheirMarker) {
    SimulatedProcess process;
    EXPECT_TRUE(isPolicyNotification({{markerKey, true}}));
    EXPECT_TRUE(isPolicyNotification({{"other", 1}, {markerKey, true}}));
    EXPECT_FALSE(isPolicyNotification(nullptr));
    EXPECT_FALSE(isPolicyNotification(json::object()));
    EXPECT_FALSE(isPolicyNotification({{"tolvaranMenuBarPolicyChange", true}}));
    for (const json& value :
         {json(false), json(1), json(0), json(1.0), json("true"), json({{markerKey, true}})}) {
        EXPECT_FALSE(isPolicyNotification({{markerKey, value}})) << value;
    }
}

}  // namespace
}  // namespace tolvaran::tests
