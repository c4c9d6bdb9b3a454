#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/modes/resolution_originals_store.hpp"
#include "simulator/simulator.hpp"
#include "tests/helper/steps/step_test.hpp"
#include "tests/restore/modes/modes_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string records = ".resolution-originals";

const json macOfTwo{{"displays", {displayWithModes(1), displayWithModes(2)}}};

class RestoreResolutions : public StepTest {
  protected:
    RestoreResolutions() : StepTest(restoreResolutions, "restoreResolutions") {}

    /// Records that both displays showed this mode.
    void record(int width, int height) const {
        ResolutionOriginalsStore::save({.version = 1,
                                        .entries = {{hardwareIDOf(1), {width, height, false, 60}},
                                                    {hardwareIDOf(2), {width, height, false, 60}}}},
                                       state(records));
    }
};

TEST_F(RestoreResolutions, CountsWhatItRestored) {
    start(macOfTwo);
    record(1280, 720);
    EXPECT_EQ(run(), (Lines{"info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                            "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz",
                            "info: restoreResolutions [cold-start]: restored 2 display mode(s)"}));
    EXPECT_FALSE(read(records).has_value());
    EXPECT_EQ(callNames(), (Lines{"CGBeginDisplayConfiguration", "CGSConfigureDisplayMode",
                                  "CGCompleteDisplayConfiguration", "CGBeginDisplayConfiguration",
                                  "CGSConfigureDisplayMode", "CGCompleteDisplayConfiguration"}));
}

TEST_F(RestoreResolutions, SumsUpASingleMode) {
    start({{"displays", {displayWithModes(1)}}});
    ResolutionOriginalsStore::save(
        {.version = 1, .entries = {{hardwareIDOf(1), {1280, 720, false, 60}}}}, state(records));
    EXPECT_EQ(run(), (Lines{"info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                            "info: restoreResolutions [cold-start]: restored 1 display mode(s)"}));
}

TEST_F(RestoreResolutions, SaysNothingWhenEveryModeIsShownAlready) {
    start(macOfTwo);
    record(1920, 1080);
    EXPECT_EQ(run("safety-tick"), Lines{});
    EXPECT_FALSE(read(records).has_value());
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreResolutions, DoesNotSumUpWhenNothingCouldBeRestored) {
    start(macOfTwo);
    record(800, 600);
    EXPECT_EQ(run("safety-tick"),
              (Lines{"warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-1; "
                     "keeping entry",
                     "warn: resolution restore: no exact mode 800 × 600 @ 60 Hz for HW-10-20-2; "
                     "keeping entry"}));
}

TEST_F(RestoreResolutions, WithoutRecordsSaysNothingNotEvenThatTolvaranRuns) {
    for (const json& running : {macOfTwo, whileTolvaranRuns({812}, macOfTwo)}) {
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
    start(whileTolvaranRuns({812}, macOfTwo));
    write(records, R"({"version":2,"entries":{}})");
    EXPECT_EQ(run("safety-tick"), Lines{"warn: resolution originals file missing/wrong "
                                        "version/unparseable, starting fresh"});
    EXPECT_EQ(read(records), R"({"version":2,"entries":{}})");
}

TEST_F(RestoreResolutions, LeavesTheModesToARunningTolvaran) {
    start(whileTolvaranRuns({812}, macOfTwo));
    record(1280, 720);
    const auto before = read(records);
    EXPECT_EQ(run("safety-tick"), Lines{skips("safety-tick", 812)});
    EXPECT_EQ(run("proc-exit", 811), Lines{skips("proc-exit", 812)});
    EXPECT_EQ(read(records), before);
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreResolutions, DoesNotCountTheExitedInstanceAsRunning) {
    start(whileTolvaranRuns({812}, macOfTwo));
    record(1280, 720);
    EXPECT_EQ(run("proc-exit", 812).back(),
              "info: restoreResolutions [proc-exit]: restored 2 display mode(s)");
}

}  // namespace
}  // namespace tolvaran::tests
