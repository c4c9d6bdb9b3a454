#include "restore/support/preferences.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "restore/support/cf_values.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

class Preferences : public ProcessTest {};

TEST_F(Preferences, ReadsNumbersAndBooleansOnly) {
    start({{"preferences",
            {{"com.example",
              {{"number", 7},
               {"boolean", true},
               {"fraction", 1.5},
               {"text", "7"},
               {"list", json::array({7})}}}}}});
    const PreferenceDomain domain("com.example");
    EXPECT_EQ(domain.integer("number"), 7);
    EXPECT_EQ(domain.integer("boolean"), 1);
    EXPECT_EQ(domain.integer("fraction"), 1);
    EXPECT_EQ(domain.integer("text"), std::nullopt);
    EXPECT_EQ(domain.integer("list"), std::nullopt);
    EXPECT_EQ(domain.integer("missing"), std::nullopt);
    EXPECT_EQ(PreferenceDomain("com.other").integer("number"), std::nullopt);
}

TEST_F(Preferences, GivesValuesOfEveryTypeAsTheyAre) {
    start({{"preferences", {{"com.example", {{"list", {"7"}}, {"truth", true}}}}}});
    const PreferenceDomain domain("com.example");
    const auto list = domain.value("list");
    ASSERT_NE(cf::array(list.get()), nullptr);
    EXPECT_EQ(cf::string(CFArrayGetValueAtIndex(cf::array(list.get()), 0)), "7");
    EXPECT_EQ(cf::boolean(domain.value("truth").get()), true);
    EXPECT_FALSE(domain.value("missing"));
}

TEST_F(Preferences, WritesAndRemoves) {
    start({{"preferences", {{"global", {{"old", 1}, {"stays", 2}}}}}});
    const PreferenceDomain domain = PreferenceDomain::anyApplication();
    domain.setInteger("number", -3);
    domain.setBoolean("on", true);
    domain.setBoolean("off", false);
    domain.setInteger("old", std::nullopt);
    domain.setBoolean("never there", std::nullopt);
    EXPECT_TRUE(domain.synchronize());
    EXPECT_TRUE(domain.synchronizeApplication());
    EXPECT_EQ(simulator::machine()["preferences"]["global"],
              (json{{"number", -3}, {"on", true}, {"off", false}, {"stays", 2}}));
}

TEST_F(Preferences, SaysWhenTheSystemRefusesToSynchronise) {
    start();
    simulator::addFault({{"call", "CFPreferencesSynchronize"}, {"result", false}});
    const PreferenceDomain domain("com.example");
    EXPECT_FALSE(domain.synchronize());
    EXPECT_TRUE(domain.synchronizeApplication());
    simulator::clearFaults();
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}});
    EXPECT_TRUE(domain.synchronize());
    EXPECT_FALSE(domain.synchronizeApplication());
}

}  // namespace
}  // namespace tolvaran::tests
