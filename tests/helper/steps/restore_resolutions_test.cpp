#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/modes/resolution_originals_store.hpp"
#include "simulator/simulator.hpp"
#include "tests/helper/steps/step_test.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string records = ".resolution-originals";

json mode(int number, int width, int height) {
    return {{"number", number}, {"flags", 1}, {"width", width}, {"height", height},
            {"depth", 8},       {"hz", 60},   {"density", 1}};
}

/// A Mac with the displays 1 and 2, which show 1920 × 1080.
json mac() {
    json result{{"displays", json::array()}};
    for (const int id : {1, 2}) {
        result["displays"].push_back({{"id", id},
                                      {"vendor", 10},
                                      {"model", 20},
                                      {"serial", id},
                                      {"frame", {1920 * (id - 1), 0, 1920, 1080}},
                                      {"modes", {mode(1, 1920, 1080), mode(2, 1280, 720)}},
                                      {"mode", 1}});
    }
    return result;
}

class RestoreResolutions : public StepTest {
  protected:
    RestoreResolutions() : StepTest(restoreResolutions, "restoreResolutions") {}

    /// Records that both displays showed this mode.
    void record(int width, int height) const {
        ResolutionOriginalsStore::save({.version = 1,
                                        .entries = {{"HW-10-20-1", {width, height, false, 60}},
                                                    {"HW-10-20-2", {width, height, false, 60}}}},
                                       state(records));
    }
};

TEST_F(RestoreResolutions, CountsWhatItRestored) {
    start(mac());
    record(1280, 720);
    EXPECT_EQ(run(), (Lines{"info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                            "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz",
                            "info: restoreResolutions [cold-start]: restored 2 display mode(s)"}));
    EXPECT_FALSE(read(records).has_value());
    EXPECT_EQ(callNames(), (Lines{"CGBeginDisplayConfiguration", "CGSConfigureDisplayMode",
                                  "CGCompleteDisplayConfiguration", "CGBeginDisplayConfiguration",
                                  "CGSConfigureDisplayMode", "CGCompleteDisplayConfiguration"}));
}

TEST_F(RestoreResolutions, SaysNothingWhenEveryModeIsShownAlready) {
    start(mac());
    record(1920, 1080);
    EXPECT_EQ(run("safety-tick"), Lines{});
    EXPECT_FALSE(read(records).has_value());
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreResolutions, DoesNotSumUpWhenNothingCouldBeRestored) {
    start(mac());
    record(800, 600);
    EXPECT_EQ(run("safety-tick"),
              (Lines{"warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-1; "
                     "keeping entry",
                     "warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-2; "
                     "keeping entry"}));
}

TEST_F(RestoreResolutions, WithoutRecordsSaysNothingNotEvenThatTolvaranRuns) {
    for (const json& running : {mac(), whileTolvaranRuns({812}, mac())}) {
        for (const char* content : {"", R"({"version":1,"entries":{}})",
                                    R"({"version":1,"entries":{"a":{"width":0,"height":1,)"
                                    R"("scaled":false,"hz":0}}})"}) {
            start(running);
            std::filesystem::remove(state(records));
            if (*content != '\0') {
                write(records, content);
            }
            EXPECT_EQ(run("safety-tick"), Lines{}) << content;
            EXPECT_EQ(callNames(), Lines{}) << content;
        }
    }
}

TEST_F(RestoreResolutions, WarnsAboutABadFileBeforeAnythingElse) {
    start(whileTolvaranRuns({812}, mac()));
    write(records, R"({"version":2,"entries":{}})");
    EXPECT_EQ(run("safety-tick"), Lines{"warn: resolution originals file missing/wrong "
                                        "version/unparseable, starting fresh"});
    EXPECT_EQ(read(records), R"({"version":2,"entries":{}})");
}

TEST_F(RestoreResolutions, LeavesTheModesToARunningTolvaran) {
    start(whileTolvaranRuns({812}, mac()));
    record(1280, 720);
    const auto before = read(records);
    EXPECT_EQ(run("safety-tick"), Lines{skips("safety-tick", 812)});
    EXPECT_EQ(run("proc-exit", 811), Lines{skips("proc-exit", 812)});
    EXPECT_EQ(read(records), before);
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreResolutions, DoesNotCountTheExitedInstanceAsRunning) {
    start(whileTolvaranRuns({812}, mac()));
    record(1280, 720);
    EXPECT_EQ(run("proc-exit", 812).back(),
              "info: restoreResolutions [proc-exit]: restored 2 display mode(s)");
}

}  // namespace
}  // namespace tolvaran::tests
