#include "helper/main_application.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

json application(const json& bundle, int pid, bool terminated = false) {
    return {{"bundle", bundle}, {"pid", pid}, {"terminated", terminated}};
}

json tolvaran(int pid, bool terminated = false) {
    return application("com.morvelli.Tolvaran", pid, terminated);
}

TEST(MainApplication, IsRecognisedByItsBundleIdentifierAlone) {
    const std::vector<std::pair<std::optional<std::string>, bool>> rows = {
        {"com.morvelli.Tolvaran", true},
        {"com.morvelli.tolvaran", false},
        {"com.morvelli.TolvaranHelper", false},
        {"com.morvelli.Tolvaran.helper", false},
        {"com.morvelli.TolvaranMigration", false},
        {"Tolvaran", false},
        {"", false},
        {std::nullopt, false},
    };
    for (const auto& [bundle, isIt] : rows) {
        for (const bool terminated : {false, true}) {
            const workspace::RunningApplication found{
                .bundleIdentifier = bundle, .processIdentifier = 812, .terminated = terminated};
            EXPECT_EQ(isMainApp(found), isIt) << bundle.value_or("none");
        }
    }
}

/// What is listed, and which instance counts as running.
struct Row {
    std::string name;
    json applications;
    std::optional<pid_t> excluding;
    std::optional<pid_t> running;
};

const std::vector<Row> rows = {
    {"nobody", json::array(), {}, {}},
    {"others", {application("com.other", 5), application(nullptr, 6)}, {}, {}},
    {"one", {application("com.other", 5), tolvaran(812)}, {}, 812},
    {"one, another excluded", json::array({tolvaran(812)}), 811, 812},
    {"the excluded one", json::array({tolvaran(812)}), 812, {}},
    {"a terminated one", json::array({tolvaran(812, true)}), {}, {}},
    {"the first of two", {tolvaran(900), tolvaran(812)}, {}, 900},
    {"the first, the second excluded", {tolvaran(900), tolvaran(812)}, 812, 900},
    {"the second, the first excluded", {tolvaran(900), tolvaran(812)}, 900, 812},
    {"the second, the first terminated", {tolvaran(900, true), tolvaran(812)}, {}, 812},
    {"one terminated, the other excluded", {tolvaran(900, true), tolvaran(812)}, 812, {}},
};

TEST(MainApplication, IsRunningWhileALiveInstanceIsListed) {
    for (const Row& row : rows) {
        const SimulatedProcess process(json{{"applications", row.applications}});
        EXPECT_EQ(runningMainAppPID(row.excluding), row.running) << row.name;
    }
}

TEST(MainApplication, AProcessIDIsAliveWhileALiveInstanceHasIt) {
    const SimulatedProcess process(
        json{{"applications",
              {application("com.other", 5), tolvaran(900, true), tolvaran(812), tolvaran(813)}}});
    for (const pid_t pid : {5, 900, 1, 0, -1}) {
        EXPECT_FALSE(isMainAppPIDAlive(pid)) << pid;
    }
    for (const pid_t pid : {812, 813}) {
        EXPECT_TRUE(isMainAppPIDAlive(pid)) << pid;
    }
}

}  // namespace
}  // namespace tolvaran::tests
