#include "restore/arrangement/display_apply.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "restore/paths/restore_log.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/arrangement_check.hpp"
#include "tests/support/special_numbers.hpp"

namespace tolvaran::tests {
namespace {

using Positions = std::vector<HardwarePosition>;

constexpr int least = std::numeric_limits<int>::min();

HardwarePosition position(CGDirectDisplayID displayID, double x, double y) {
    return {.displayID = displayID, .origin = CGPointMake(x, y)};
}

/// Three displays in a row: 7, the main one 3, and 5.
class DisplayApplyTest : public ProcessTest {
  protected:
    void SetUp() override {
        start({{"displays",
                {{{"id", 7}, {"frame", {-1280, 0, 1280, 800}}},
                 {{"id", 3}, {"frame", {0, 0, 1920, 1080}}},
                 {{"id", 5}, {"frame", {1920, 0, 2560, 1440}}}}}});
    }

    static std::vector<CGPoint> origins() {
        return {CGDisplayBounds(7).origin, CGDisplayBounds(3).origin, CGDisplayBounds(5).origin};
    }
    static void expectOrigins(const std::vector<CGPoint>& expected) {
        const std::vector<CGPoint> found = origins();
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(found[i].x, expected[i].x) << i;
            EXPECT_EQ(found[i].y, expected[i].y) << i;
        }
    }
};

TEST_F(DisplayApplyTest, AnEmptyListFailsSilently) {
    bool called = false;
    const auto hook = [&] { called = true; };
    EXPECT_FALSE(DisplayApply::applyOriginalsToHardware({}, hook, hook));
    EXPECT_FALSE(called);
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(callLines(), Lines{});
}

/// The positions to apply, and what the window server is given.
struct ApplyRow {
    std::string name;
    Positions positions;
    std::string shift;  // as logged; empty without one
    Places applied;
    std::vector<CGPoint> origins = {};  // afterwards; empty: not compared
};

const std::vector<ApplyRow> applyRows{
    {"in order",
     {position(5, -2560, 0), position(3, 0, 0), position(7, 0, 1080)},
     "",
     {{5, -2560, 0}, {3, 0, 0}, {7, 0, 1080}},
     {{0, 1080}, {0, 0}, {-2560, 0}}},
    {"the main display stays at the origin",
     {position(7, 0, 0), position(3, 1280, -100), position(5, 3200, 50)},
     "(1280,-100)",
     {{7, -1280, 100}, {3, 0, 0}, {5, 1920, 150}},
     {{-1280, 100}, {0, 0}, {1920, 150}}},
    {"a shift in one direction is a shift",
     {position(3, 0, 30), position(5, 1920, 30)},
     "(0,30)",
     {{3, 0, 0}, {5, 1920, 0}}},
    {"without the main display nothing is shifted",
     {position(7, 100, 200), position(5, 1380, 200)},
     "",
     {{7, 100, 200}, {5, 1380, 200}}},
    {"the first of two positions of the main display anchors",
     {position(3, 10, 0), position(3, 20, 0), position(5, 1930, 0)},
     "(10,0)",
     {{3, 0, 0}, {3, 10, 0}, {5, 1920, 0}}},
    {"negative zero is the origin", {position(3, -0.0, -0.0)}, "", {{3, 0, 0}}},
    {"fractions are cut off after the shift",
     {position(3, 100.5, -0.5), position(5, 2020.25, -100.25), position(7, -1180.25, 0)},
     "(100,0)",
     {{3, 0, 0}, {5, 1919, -99}, {7, -1280, 0}}},
    {"origins at the limits of 32 bits",
     {position(5, 2147483647.9, -2147483648.9), position(7, -2147483648.0, 2147483647.0)},
     "",
     {{5, 2147483647, least}, {7, least, 2147483647}}},
};

TEST_F(DisplayApplyTest, AppliesPositionsForTheSession) {
    for (const ApplyRow& row : applyRows) {
        SCOPED_TRACE(row.name);
        SetUp();
        EXPECT_TRUE(DisplayApply::applyOriginalsToHardware(row.positions));
        const Lines shift{"info: Re-anchored saved positions to current main 3: shift=" +
                          row.shift};
        EXPECT_EQ(takeLog(), (row.shift.empty() ? Lines{} : shift) + moved(row.applied));
        EXPECT_EQ(callLines(), moveCalls(row.applied));
        expectOrigins(row.origins);
    }
}

TEST_F(DisplayApplyTest, WhenItCannotBeginNothingElseHappens) {
    failCalls("CGBeginDisplayConfiguration", 1004);
    bool called = false;
    const auto hook = [&] { called = true; };
    EXPECT_FALSE(DisplayApply::applyOriginalsToHardware({position(5, 0, 1080)}, hook, hook));
    EXPECT_FALSE(called);
    EXPECT_EQ(takeLog(), Lines{"debug: Applying 1 positions to hardware"});
    EXPECT_EQ(callLines(), Lines{"CGBeginDisplayConfiguration [] = 1004"});
    expectOrigins({{-1280, 0}, {0, 0}, {1920, 0}});
}

TEST_F(DisplayApplyTest, WhenCompletionFailsTheAfterHookStillRuns) {
    failCalls("CGCompleteDisplayConfiguration", 1001);
    Lines order;
    EXPECT_FALSE(DisplayApply::applyOriginalsToHardware(
        {position(5, 0, 1080)}, [&] { order.push_back("before"); },
        [&] { order.push_back("after"); }));
    EXPECT_EQ(order, (Lines{"before", "after"}));
    EXPECT_EQ(callLines(), moveCalls({{5, 0, 1080}}, "CGCompleteDisplayConfiguration [1] = 1001"));
    expectOrigins({{-1280, 0}, {0, 0}, {1920, 0}});
}

TEST_F(DisplayApplyTest, OnlyTheCompletionDecides) {
    simulator::addFault({{"call", "CGConfigureDisplayOrigin"}, {"result", 1001}, {"times", 1}});
    EXPECT_TRUE(
        DisplayApply::applyOriginalsToHardware({position(7, 0, 1080), position(5, 0, -1440)}));
    Lines calls = moveCalls({{7, 0, 1080}, {5, 0, -1440}});
    calls[1] = "CGConfigureDisplayOrigin [7,0,1080] = 1001";
    EXPECT_EQ(callLines(), calls);
    expectOrigins({{-1280, 0}, {0, 0}, {0, -1440}});
}

TEST_F(DisplayApplyTest, HooksRunInTheConfigurationAndAfterIt) {
    Lines before;
    Lines after;
    EXPECT_TRUE(DisplayApply::applyOriginalsToHardware(
        {position(3, 0, 0), position(5, 0, 1080)},
        [&] {
            before = callLines();
            EXPECT_EQ(simulator::openConfigurations(), 1U);
        },
        [&] {
            after = callLines();
            EXPECT_EQ(simulator::openConfigurations(), 0U);
            expectOrigins({{-1280, 0}, {0, 0}, {0, 1080}});
        }));
    EXPECT_EQ(before, Lines{beginCall});
    EXPECT_EQ(after, moveCalls({{3, 0, 0}, {5, 0, 1080}}));
}

TEST_F(DisplayApplyTest, AHookThatThrowsCancelsTheConfiguration) {
    const auto hook = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(DisplayApply::applyOriginalsToHardware({position(5, 0, 1080)}, hook),
                 std::runtime_error);
    EXPECT_EQ(callLines(), (Lines{beginCall, "CGCancelDisplayConfiguration [] = 0"}));
    expectOrigins({{-1280, 0}, {0, 0}, {1920, 0}});
}

TEST_F(DisplayApplyTest, AnAfterHookThatThrowsFindsTheConfigurationCompleted) {
    const auto hook = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(DisplayApply::applyOriginalsToHardware({position(5, 0, 1080)}, nullptr, hook),
                 std::runtime_error);
    EXPECT_EQ(callLines(), moveCalls({{5, 0, 1080}}));
    expectOrigins({{-1280, 0}, {0, 0}, {0, 1080}});
}

struct Refusal {
    std::string name;
    HardwarePosition position;
    std::string log;  // all of it, as the program stops
};

/// What is logged before the only display of a list.
const std::string applying = "Applying 1 positions to hardware\n";

std::ostream& operator<<(std::ostream& out, const Refusal& refusal) {
    return out << refusal.name;
}

class DisplayApplyDeathTest : public DisplayApplyTest,
                              public testing::WithParamInterface<Refusal> {};

TEST_P(DisplayApplyDeathTest, StopsTheProgramAndSaysWhy) {
    const auto toStandardError = [](const std::string& message) {
        std::fputs((message + "\n").c_str(), stderr);
    };
    RestoreLog::debug = RestoreLog::info = RestoreLog::warn = toStandardError;
    EXPECT_EXIT(DisplayApply::applyOriginalsToHardware({GetParam().position}),
                testing::KilledBySignal(SIGABRT), testing::Eq(GetParam().log));
    EXPECT_EQ(callLines(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(
    DisplayApply, DisplayApplyDeathTest,
    testing::Values(
        Refusal{
            "InfiniteX", position(5, infinity, 0),
            applying +
                "stopping: x of the origin of display 5 is inf, which does not fit in 64 bits\n"},
        Refusal{
            "YIsNaN", position(5, 0, notANumber),
            applying +
                "stopping: y of the origin of display 5 is nan, which does not fit in 64 bits\n"},
        Refusal{"YBeyond64Bits", position(7, 0, -1e308),
                applying + "stopping: y of the origin of display 7 is "
                           "-1e+308, which does not fit in 64 bits\n"},
        Refusal{"XBeyond64Bits", position(5, 9223372036854775808.0, 0),
                applying + "stopping: x of the origin of display 5 is 9.2233720368547758e+18, "
                           "which does not fit in 64 bits\n"},
        Refusal{"XBeyond32Bits", position(5, 2147483648.0, 0),
                applying + "  display 5 -> (2147483648,0)\n"
                           "stopping: x of the origin of display 5 is 2147483648, which does not "
                           "fit in 32 bits\n"},
        Refusal{"YBeyond32Bits", position(5, 0, -2147483649.0),
                applying + "  display 5 -> (0,-2147483649)\n"
                           "stopping: y of the origin of display 5 is -2147483649, which does not "
                           "fit in 32 bits\n"},
        // The main display's own origin is also the shift, which is logged first.
        Refusal{
            "InfiniteShift", position(3, infinity, 0),
            "stopping: x of the shift to the main display is inf, which does not fit in 64 bits\n"},
        Refusal{"ShiftIsNaN", position(3, 0, notANumber),
                "stopping: y of the shift to the main display is nan, which does not fit in 64 "
                "bits\n"}),
    [](const auto& refusal) { return refusal.param.name; });

TEST(HardwarePosition, IsComparedMemberByMember) {
    EXPECT_EQ(position(1, 2, 3), position(1, 2, 3));
    EXPECT_FALSE(position(1, 2, 3) == position(9, 2, 3));
    EXPECT_FALSE(position(1, 2, 3) == position(1, 9, 3));
    EXPECT_FALSE(position(1, 2, 3) == position(1, 2, 9));
}

DisplayFrame frame(CGDirectDisplayID displayID, CGRect bounds) {
    return {.displayID = displayID, .frame = bounds};
}

TEST(StackedFallback, PutsTheOthersToTheRightOfTheMainDisplay) {
    const std::vector<DisplayFrame> displays{frame(1, CGRectMake(0, 0, 1920, 1080)),
                                             frame(2, CGRectMake(1920, 1080, 1280, 800)),
                                             frame(3, CGRectMake(3200, 1880, 2560, 1440))};
    EXPECT_EQ(DisplayApply::stackedFallbackPositions(displays, 1),
              (Positions{position(1, 0, 0), position(2, 1920, 0), position(3, 3200, 0)}));
}

TEST(StackedFallback, KeepsTheListsOrderWhereverTheMainDisplayIs) {
    const std::vector<DisplayFrame> displays{frame(3, CGRectMake(-2560, -1440, 2560, 1440)),
                                             frame(2, CGRectMake(1920, 1080, 1280, 800)),
                                             frame(1, CGRectMake(0, 0, 1920, 1080))};
    EXPECT_EQ(DisplayApply::stackedFallbackPositions(displays, 1),
              (Positions{position(3, 1920, 0), position(2, 4480, 0), position(1, 0, 0)}));
}

TEST(StackedFallback, TheRowIsAtZeroEvenWhenTheMainDisplayIsNot) {
    const std::vector<DisplayFrame> displays{frame(1, CGRectMake(-100, 50, 800, 600)),
                                             frame(2, CGRectMake(700, 650, 1280, 800))};
    EXPECT_EQ(DisplayApply::stackedFallbackPositions(displays, 1),
              (Positions{position(1, -100, 50), position(2, 700, 0)}));
}

TEST(StackedFallback, TheMainDisplayAloneStaysWhereItIs) {
    EXPECT_EQ(DisplayApply::stackedFallbackPositions({frame(1, CGRectMake(5, 6, 800, 600))}, 1),
              Positions{position(1, 5, 6)});
}

TEST(StackedFallback, IsEmptyWithoutTheMainDisplay) {
    EXPECT_EQ(DisplayApply::stackedFallbackPositions({frame(1, CGRectMake(0, 0, 800, 600))}, 2),
              Positions{});
    EXPECT_EQ(DisplayApply::stackedFallbackPositions({}, 0), Positions{});
}

}  // namespace
}  // namespace tolvaran::tests
