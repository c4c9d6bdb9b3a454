#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/modes/resolution_originals_store.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string records = ".resolution-originals";

json mode(int number, int width, int height) {
    return {{"number", number}, {"flags", 1}, {"width", width}, {"height", height},
            {"depth", 8},       {"hz", 60},   {"density", 1}};
}

/// A Mac with the displays 1 and 2, which show 1920 × 1080; Tolvaran runs under these pids.
json mac(const std::vector<int>& pids = {}) {
    json result{{"displays", json::array()}, {"applications", json::array()}};
    for (const int id : {1, 2}) {
        result["displays"].push_back({{"id", id},
                                      {"vendor", 10},
                                      {"model", 20},
                                      {"serial", id},
                                      {"frame", {1920 * (id - 1), 0, 1920, 1080}},
                                      {"modes", {mode(1, 1920, 1080), mode(2, 1280, 720)}},
                                      {"mode", 1}});
    }
    for (const int pid : pids) {
        result["applications"].push_back({{"bundle", "com.morvelli.Tolvaran"}, {"pid", pid}});
    }
    return result;
}

void record(const HelperProcess& process, int width, int height) {
    ResolutionOriginalsStore::save({.version = 1,
                                    .entries = {{"HW-10-20-1", {width, height, false, 60}},
                                                {"HW-10-20-2", {width, height, false, 60}}}},
                                   process.state(records));
}

TEST(RestoreResolutions, CountsWhatItRestored) {
    HelperProcess process(mac());
    record(process, 1280, 720);
    restoreResolutions("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(),
              (Lines{"info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                     "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz",
                     "info: restoreResolutions [cold-start]: restored 2 display mode(s)"}));
    EXPECT_FALSE(readFile(process.state(records)).has_value());
    EXPECT_EQ(callNames(), (Lines{"CGBeginDisplayConfiguration", "CGSConfigureDisplayMode",
                                  "CGCompleteDisplayConfiguration", "CGBeginDisplayConfiguration",
                                  "CGSConfigureDisplayMode", "CGCompleteDisplayConfiguration"}));
}

TEST(RestoreResolutions, SaysNothingWhenEveryModeIsShownAlready) {
    HelperProcess process(mac());
    record(process, 1920, 1080);
    restoreResolutions("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_FALSE(readFile(process.state(records)).has_value());
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreResolutions, DoesNotSumUpWhenNothingCouldBeRestored) {
    HelperProcess process(mac());
    record(process, 800, 600);
    restoreResolutions("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(),
              (Lines{"warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-1; "
                     "keeping entry",
                     "warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-2; "
                     "keeping entry"}));
}

TEST(RestoreResolutions, WithoutRecordsSaysNothingNotEvenThatTolvaranRuns) {
    for (const auto& pids : {std::vector<int>{}, std::vector<int>{812}}) {
        for (const char* content : {"", R"({"version":1,"entries":{}})",
                                    R"({"version":1,"entries":{"a":{"width":0,"height":1,)"
                                    R"("scaled":false,"hz":0}}})"}) {
            HelperProcess process(mac(pids));
            if (*content != '\0') {
                writeFile(process.state(records), content);
            }
            restoreResolutions("safety-tick", std::nullopt);
            EXPECT_EQ(process.takeLog(), Lines{}) << content;
            EXPECT_EQ(callNames(), Lines{}) << content;
        }
    }
}

TEST(RestoreResolutions, WarnsOfABadFileBeforeAnythingElse) {
    HelperProcess process(mac({812}));
    writeFile(process.state(records), R"({"version":2,"entries":{}})");
    restoreResolutions("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{"warn: resolution originals file missing/wrong "
                                       "version/unparseable, starting fresh"});
    EXPECT_EQ(readFile(process.state(records)), R"({"version":2,"entries":{}})");
}

TEST(RestoreResolutions, LeavesTheModesToARunningTolvaran) {
    HelperProcess process(mac({812}));
    record(process, 1280, 720);
    const auto before = readFile(process.state(records));
    restoreResolutions("safety-tick", std::nullopt);
    restoreResolutions("proc-exit", 811);
    EXPECT_EQ(process.takeLog(),
              (Lines{"debug: restoreResolutions [safety-tick]: Tolvaran running (pid 812), "
                     "skipping",
                     "debug: restoreResolutions [proc-exit]: Tolvaran running (pid 812), "
                     "skipping"}));
    EXPECT_EQ(readFile(process.state(records)), before);
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreResolutions, DoesNotTakeTheExitedInstanceForARunningOne) {
    HelperProcess process(mac({812}));
    record(process, 1280, 720);
    restoreResolutions("proc-exit", 812);
    EXPECT_EQ(process.takeLog().back(),
              "info: restoreResolutions [proc-exit]: restored 2 display mode(s)");
}

}  // namespace
}  // namespace tolvaran::tests
