#include "restore/modes/display_mode_control.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "restore/paths/restore_log.hpp"
#include "simulator/devices/display_modes.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

using Modes = std::vector<DisplayModeDescriptor>;

constexpr std::uint32_t valid = 0x00000001;
constexpr std::uint32_t native = 0x02000000;

/// A usable mode.
DisplayModeDescriptor mode(std::int32_t number, std::int64_t width, std::int64_t height, double hz,
                           float density = 1.0F) {
    return {.modeNum = number,
            .flags = valid,
            .width = width,
            .height = height,
            .depth = 8,
            .hz = hz,
            .density = density};
}

std::vector<std::int32_t> numbers(const Modes& modes) {
    std::vector<std::int32_t> result;
    std::ranges::transform(modes, std::back_inserter(result), &DisplayModeDescriptor::modeNum);
    return result;
}

json listed(const DisplayModeDescriptor& m) {
    return {{"number", m.modeNum}, {"flags", m.flags}, {"width", m.width},    {"height", m.height},
            {"depth", m.depth},    {"hz", m.hz},       {"density", m.density}};
}

class DisplayModes : public ProcessTest {
  protected:
    /// A Mac with one display, 7, that lists these modes and shows one of them (null: none).
    void resetMac(const Modes& modes, const json& current) {
        json display{{"id", 7}, {"frame", {0, 0, 1920, 1080}}, {"modes", json::array()}};
        for (const DisplayModeDescriptor& m : modes) {
            display["modes"].push_back(listed(m));
        }
        if (!current.is_null()) {
            display["mode"] = current;
        }
        start({{"displays", json::array({display})}});
    }
};
using CurrentDisplayMode = DisplayModes;
using ApplyingADisplayMode = DisplayModes;

const Modes threeModes{mode(1, 1920, 1080, 60), mode(2, 1280, 720, 59.5, 2.0F),
                       mode(5, 1024, 768, 0)};

TEST_F(DisplayModes, AreListedInTheWindowServersOrder) {
    resetMac(threeModes, 1);
    EXPECT_EQ(DisplayModeControl::modes(7), threeModes);
}

TEST_F(DisplayModes, AreNoneForADisplayThatIsGone) {
    resetMac(threeModes, 1);
    EXPECT_THAT(DisplayModeControl::modes(8), IsEmpty());
    EXPECT_EQ(DisplayModeControl::currentModeNumber(8), std::nullopt);
    EXPECT_EQ(DisplayModeControl::currentMode(8), std::nullopt);
}

TEST_F(DisplayModes, AreNoneWhenTheCountMakesNoSense) {
    for (const std::int32_t count : {0, 4097, std::numeric_limits<std::int32_t>::max(), -1, -4096,
                                     std::numeric_limits<std::int32_t>::min()}) {
        resetMac(threeModes, 1);
        simulator::devices::claimModeCount(7, count);
        EXPECT_THAT(DisplayModeControl::modes(7), IsEmpty()) << count;
        EXPECT_EQ(DisplayModeControl::currentMode(7), std::nullopt) << count;
    }
}

TEST_F(DisplayModes, AreNoneWhenTheyCannotBeCounted) {
    resetMac(threeModes, 1);
    failCalls("CGSGetNumberOfDisplayModes", 1001);
    EXPECT_THAT(DisplayModeControl::modes(7), IsEmpty());
}

TEST_F(DisplayModes, AreTakenAsFilledInWhateverTheCallsReturn) {
    for (const std::string call :
         {"CGSGetNumberOfDisplayModes", "CGSGetDisplayModeDescriptionOfLength",
          "CGSGetCurrentDisplayMode"}) {
        resetMac(threeModes, 5);
        simulator::addFault({{"call", call}, {"result", 1001}, {"effect", true}});
        EXPECT_EQ(DisplayModeControl::modes(7), threeModes) << call;
        EXPECT_EQ(DisplayModeControl::currentModeNumber(7), 5) << call;
        EXPECT_EQ(DisplayModeControl::currentMode(7), threeModes[2]) << call;
        EXPECT_GT(simulator::faultsMet(), 0U) << call;
    }
}

TEST_F(DisplayModes, AreListedUpToTheGreatestCount) {
    Modes many;
    for (std::int32_t number = 0; number < 4096; ++number) {
        many.push_back(mode(number, 1000 + number, 1000, 60));
    }
    resetMac(many, 4095);
    EXPECT_EQ(DisplayModeControl::modes(7), many);
    EXPECT_EQ(DisplayModeControl::currentMode(7), many.back());
}

TEST_F(DisplayModes, AreListedUpToTheClaimedCount) {
    resetMac(threeModes, 1);
    simulator::devices::claimModeCount(7, 2);
    EXPECT_THAT(numbers(DisplayModeControl::modes(7)), ElementsAre(1, 2));
}

TEST_F(DisplayModes, AreZerosAtARefusedIndex) {
    resetMac(threeModes, 1);
    simulator::addFault({{"call", "CGSGetDisplayModeDescriptionOfLength"},
                         {"result", 1001},
                         {"skip", 1},
                         {"times", 1}});
    // In the middle: nothing of the previous mode may show through.
    EXPECT_EQ(DisplayModeControl::modes(7),
              (Modes{threeModes[0], DisplayModeDescriptor{}, threeModes[2]}));

    simulator::devices::claimModeCount(7, 5);
    const Modes beyond = DisplayModeControl::modes(7);
    ASSERT_EQ(beyond.size(), 5U);
    EXPECT_EQ(beyond[3], DisplayModeDescriptor{});
    EXPECT_EQ(beyond[4], DisplayModeDescriptor{});
}

TEST_F(CurrentDisplayMode, IsTheListedModeWithTheCurrentNumber) {
    resetMac(threeModes, 5);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(7), 5);
    EXPECT_EQ(DisplayModeControl::currentMode(7), threeModes[2]);
}

TEST_F(CurrentDisplayMode, MayHaveNumberZero) {
    const Modes modes{mode(3, 1920, 1080, 60), mode(0, 1280, 720, 60)};
    resetMac(modes, 0);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(7), 0);
    EXPECT_EQ(DisplayModeControl::currentMode(7), modes[1]);
}

TEST_F(CurrentDisplayMode, IsTheFirstListedModeWithItsNumber) {
    const Modes modes{mode(4, 800, 600, 60), mode(5, 1920, 1080, 60), mode(5, 1280, 720, 60)};
    resetMac(modes, 5);
    EXPECT_EQ(DisplayModeControl::currentMode(7), modes[1]);
}

TEST_F(CurrentDisplayMode, IsNoneWithANegativeNumber) {
    resetMac({mode(-1, 1920, 1080, 60)}, nullptr);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(7), std::nullopt);
    EXPECT_EQ(DisplayModeControl::currentMode(7), std::nullopt);
}

TEST_F(CurrentDisplayMode, IsNoneWhenTheCallFails) {
    resetMac(threeModes, 1);
    failCalls("CGSGetCurrentDisplayMode", 1001);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(7), std::nullopt);
    EXPECT_EQ(DisplayModeControl::currentMode(7), std::nullopt);
}

TEST_F(CurrentDisplayMode, IsNoneWhenItIsNotListed) {
    resetMac(threeModes, 5);
    simulator::devices::claimModeCount(7, 2);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(7), 5);
    EXPECT_EQ(DisplayModeControl::currentMode(7), std::nullopt);
}

TEST_F(ApplyingADisplayMode, SwitchesForTheSession) {
    resetMac(threeModes, 1);
    EXPECT_TRUE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines(),
              (Lines{"CGBeginDisplayConfiguration [] = 0", "CGSConfigureDisplayMode [7,2] = 0",
                     "CGCompleteDisplayConfiguration [1] = 0"}));
    EXPECT_EQ(simulator::machine()["displays"][0]["mode"], 2);
    EXPECT_EQ(DisplayModeControl::currentMode(7), threeModes[1]);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ApplyingADisplayMode, FailsWhenTheConfigurationCannotBegin) {
    resetMac(threeModes, 1);
    failCalls("CGBeginDisplayConfiguration", 1000);
    EXPECT_FALSE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines(), Lines{"CGBeginDisplayConfiguration [] = 1000"});
}

TEST_F(ApplyingADisplayMode, FailsWithAnErrorEvenWhenThereIsAHandle) {
    resetMac(threeModes, 1);
    simulator::addFault(
        {{"call", "CGBeginDisplayConfiguration"}, {"result", 1000}, {"effect", true}});
    EXPECT_FALSE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines().size(), 1U);
    // Nothing is known about such a handle, so it is left alone.
    EXPECT_EQ(simulator::openConfigurations(), 1U);
    simulator::reset();
}

TEST_F(ApplyingADisplayMode, FailsWithoutAHandle) {
    resetMac(threeModes, 1);
    simulator::addFault({{"call", "CGBeginDisplayConfiguration"}, {"effect", false}});
    EXPECT_FALSE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines(), Lines{"CGBeginDisplayConfiguration [] = 0"});
}

TEST_F(ApplyingADisplayMode, PassesOverARefusalOfTheModeItself) {
    resetMac(threeModes, 1);
    failCalls("CGSConfigureDisplayMode", 1001);
    EXPECT_TRUE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines(),
              (Lines{"CGBeginDisplayConfiguration [] = 0", "CGSConfigureDisplayMode [7,2] = 1001",
                     "CGCompleteDisplayConfiguration [1] = 0"}));
}

TEST_F(ApplyingADisplayMode, DoesNotCancelAFailedCompletion) {
    resetMac(threeModes, 1);
    failCalls("CGCompleteDisplayConfiguration", 1004);
    EXPECT_FALSE(DisplayModeControl::apply(2, 7));
    EXPECT_EQ(callLines(),
              (Lines{"CGBeginDisplayConfiguration [] = 0", "CGSConfigureDisplayMode [7,2] = 0",
                     "CGCompleteDisplayConfiguration [1] = 1004"}));
    EXPECT_EQ(simulator::machine()["displays"][0]["mode"], 1);
}

TEST_F(ApplyingADisplayMode, FailsForAModeThatTheDisplayDoesNotHave) {
    resetMac(threeModes, 1);
    EXPECT_FALSE(DisplayModeControl::apply(3, 7));
    EXPECT_EQ(simulator::machine()["displays"][0]["mode"], 1);
}

std::int32_t matchNumber(const DisplayModeSpec& spec, const Modes& modes) {
    const auto match = DisplayModeControl::exactMatch(spec, modes);
    return match ? match->modeNum : -1;
}

TEST(ExactMatch, OfAnyRateIsTheFastestAndThenTheLowestNumbered) {
    const DisplayModeSpec any{1920, 1080, false, 0};
    EXPECT_EQ(matchNumber(any, {mode(1, 1920, 1080, 50), mode(2, 1920, 1080, 59.94),
                                mode(3, 1920, 1080, 60)}),
              3);
    EXPECT_EQ(matchNumber(any, {mode(9, 1920, 1080, 60), mode(3, 1920, 1080, 60),
                                mode(5, 1920, 1080, 60), mode(1, 1920, 1080, 59.94)}),
              3);
    EXPECT_EQ(matchNumber(any, {mode(4, 1920, 1080, 0)}), 4);
}

TEST(ExactMatch, OfARateIsTheFastestThatRoundsToIt) {
    const Modes modes{mode(1, 1920, 1080, 59.94), mode(2, 1920, 1080, 60),
                      mode(3, 1920, 1080, 60.5), mode(4, 1920, 1080, 59.5),
                      mode(5, 1920, 1080, 120)};
    EXPECT_EQ(matchNumber({1920, 1080, false, 60}, modes), 2);
    EXPECT_EQ(matchNumber({1920, 1080, false, 61}, modes), 3);
    EXPECT_EQ(matchNumber({1920, 1080, false, 59}, modes), -1);
    EXPECT_EQ(matchNumber({1920, 1080, false, 120}, modes), 5);
}

TEST(ExactMatch, NeverReturnsAnUnusableMode) {
    const DisplayModeSpec spec{1920, 1080, false, 60};
    for (std::int64_t depth : {0, 4, 7, 9, 16, 32}) {
        DisplayModeDescriptor other = mode(1, 1920, 1080, 60);
        other.depth = depth;
        EXPECT_EQ(matchNumber(spec, {other}), -1) << depth;
    }
    for (const std::uint32_t flags : {0U, 2U, native, ~valid}) {
        DisplayModeDescriptor other = mode(1, 1920, 1080, 60);
        other.flags = flags;
        EXPECT_EQ(matchNumber(spec, {other}), -1) << flags;
        EXPECT_EQ(matchNumber(spec, {other, mode(2, 1920, 1080, 60)}), 2) << flags;
    }
}

TEST(ExactMatch, NeedsSizeAndScaledness) {
    const Modes modes{mode(1, 1920, 1080, 60), mode(2, 1920, 1080, 60, 2.0F)};
    EXPECT_EQ(matchNumber({1920, 1080, false, 60}, modes), 1);
    EXPECT_EQ(matchNumber({1920, 1080, true, 60}, modes), 2);
    EXPECT_EQ(matchNumber({1921, 1080, false, 60}, modes), -1);
    EXPECT_EQ(matchNumber({1920, 1081, false, 60}, modes), -1);
    EXPECT_EQ(matchNumber({1920, 1080, false, 60}, {}), -1);
    EXPECT_EQ(matchNumber({1920, 1080, false, 60}, {mode(1, 1920, 1080, 60, 1.5F)}), 1);
    EXPECT_EQ(matchNumber({1920, 1080, true, 60}, {mode(1, 1920, 1080, 60, 1.5F)}), -1);
}

TEST(ExactMatch, ReturnsTheWholeDescriptorAndTheFirstOfEquals) {
    DisplayModeDescriptor first = mode(4, 1920, 1080, 60);
    DisplayModeDescriptor second = first;
    second.flags |= native;
    const DisplayModeSpec spec{1920, 1080, false, 60};
    EXPECT_EQ(DisplayModeControl::exactMatch(spec, {first, second}), first);
    EXPECT_EQ(DisplayModeControl::exactMatch(spec, {second, first}), second);
}

TEST(ExactMatch, FindsNothingForSizesThatNoDisplayHas) {
    constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(matchNumber({huge, huge, true, huge}, threeModes), -1);
    EXPECT_EQ(matchNumber({huge, huge, false, 0}, {mode(1, huge, huge, 60)}), 1);
}

TEST(NativePixelWidth, IsTheGreatestOfNativeTiming) {
    const auto nativeMode = [](std::int64_t width, float density) {
        DisplayModeDescriptor result = mode(1, width, 1000, 60, density);
        result.flags |= native;
        return result;
    };
    EXPECT_EQ(DisplayModeControl::nativePixelWidth({}), 0);
    EXPECT_EQ(DisplayModeControl::nativePixelWidth({mode(1, 3840, 2160, 60)}), 0);
    EXPECT_EQ(DisplayModeControl::nativePixelWidth({nativeMode(1920, 1.0F), nativeMode(1920, 2.0F),
                                                    nativeMode(2560, 1.0F),
                                                    mode(9, 5120, 2880, 60, 2.0F)}),
              3840);

    DisplayModeDescriptor invalid = nativeMode(3840, 1.0F);
    invalid.flags = native;
    DisplayModeDescriptor deep = nativeMode(3840, 1.0F);
    deep.depth = 16;
    EXPECT_EQ(DisplayModeControl::nativePixelWidth({invalid, deep}), 0);
    EXPECT_EQ(DisplayModeControl::nativePixelWidth({nativeMode(-1920, 1.0F)}), 0);
}

TEST(Supersampling, IsAScaledModeAtLeastAsWideAsThePanel) {
    struct Case {
        std::int64_t width;
        float density;
        std::int64_t nativeWidth;
        bool expected;
    };
    const std::vector<Case> cases{
        {3840, 2.0F, 3840, true},  {3841, 2.0F, 3840, true},  {3839, 2.0F, 3840, false},
        {3840, 1.5F, 3840, false}, {3840, 1.0F, 3840, false}, {3840, 2.0F, 0, false},
        {3840, 2.0F, -1, false},   {1, 2.0F, 1, true},        {0, 2.0F, 0, false}};
    for (const Case& c : cases) {
        EXPECT_EQ(DisplayModeControl::isSupersampled(mode(1, c.width, 1000, 60, c.density),
                                                     c.nativeWidth),
                  c.expected)
            << c.width << " " << c.density << " " << c.nativeWidth;
    }
}

TEST(DedupedModes, KeepTheFirstOfEachSpec) {
    const Modes modes{mode(9, 1920, 1080, 59.94), mode(2, 1920, 1080, 60),
                      mode(1, 1920, 1080, 60, 2.0F), mode(3, 1920, 1080, 50)};
    EXPECT_THAT(numbers(DisplayModeControl::dedupedModes(modes)), ElementsAre(1, 9, 3));
}

TEST(DedupedModes, LeaveOutWhatCannotBeOffered) {
    Modes modes{mode(1, 0, 1080, 60), mode(2, -1, 1080, 60), mode(3, 1920, 0, 60),
                mode(4, 1920, -1, 60), mode(5, 1, 1, 60)};
    modes.push_back(mode(6, 1920, 1080, 60));
    modes.back().depth = 4;
    modes.push_back(mode(7, 1920, 1080, 60));
    modes.back().flags = native;
    modes.emplace_back();
    EXPECT_THAT(numbers(DisplayModeControl::dedupedModes(modes)), ElementsAre(5));
    // An unusable mode does not use up its spec either.
    modes.push_back(mode(8, 1920, 1080, 60));
    EXPECT_THAT(numbers(DisplayModeControl::dedupedModes(modes)), ElementsAre(8, 5));
    EXPECT_THAT(DisplayModeControl::dedupedModes({}), IsEmpty());
}

TEST(DedupedModes, AreOrderedByAreaScalednessRateAndNumber) {
    EXPECT_THAT(numbers(DisplayModeControl::dedupedModes(
                    {mode(1, 1280, 720, 60), mode(2, 1920, 1080, 50), mode(3, 1920, 1080, 60),
                     mode(4, 1920, 1080, 60, 2.0F), mode(5, 1080, 1920, 60),
                     mode(6, 1080, 1920, 59.94, 2.0F), mode(0, 2, 2, 144)})),
                ElementsAre(4, 6, 3, 5, 2, 1, 0));
}

TEST(DedupedModes, KeepTheirOrderIfNothingDistinguishesThem) {
    const Modes wideFirst{mode(1, 1920, 1080, 60), mode(1, 1080, 1920, 60)};
    EXPECT_EQ(DisplayModeControl::dedupedModes(wideFirst), wideFirst);
    const Modes tallFirst{wideFirst[1], wideFirst[0]};
    EXPECT_EQ(DisplayModeControl::dedupedModes(tallFirst), tallFirst);
}

TEST(DedupedModesDeathTest, StopTheProgramWhenAnAreaDoesNotFit) {
    constexpr std::int64_t huge = std::int64_t{1} << 32;
    EXPECT_EXIT(
        {
            RestoreLog::warn = [](const std::string& text) { std::fputs(text.c_str(), stderr); };
            DisplayModeControl::dedupedModes({mode(3, huge, huge, 60), mode(4, 1, 1, 60)});
        },
        testing::KilledBySignal(SIGABRT), "stopping: area of mode [34] is ");
}

TEST(DedupedModes, TakeTheGreatestSizesThatARecordCanHold) {
    constexpr std::int64_t greatest = std::numeric_limits<std::int32_t>::max();
    const Modes modes{mode(1, greatest, greatest - 1, 60), mode(2, greatest, greatest, 60)};
    EXPECT_THAT(numbers(DisplayModeControl::dedupedModes(modes)), ElementsAre(2, 1));
}

// Properties over generated lists. Every field comes from a handful of values, so that equal specs
// and equal ranks are common.

class Generator {
  public:
    explicit Generator(std::uint64_t seed) : random_(seed) {}

    Modes list() {
        Modes modes;
        for (std::size_t count = below(24); count > 0; --count) {
            modes.push_back(descriptor());
        }
        return modes;
    }

    DisplayModeSpec spec() {
        return {pick<std::int64_t>({600, 1200, 0}), pick<std::int64_t>({600, 1200}), below(2) == 0,
                pick<std::int64_t>({0, 50, 60, 61})};
    }

    Modes shuffled(Modes modes) {
        for (std::size_t left = modes.size(); left > 1; --left) {
            std::swap(modes[left - 1], modes[below(left)]);
        }
        return modes;
    }

  private:
    DisplayModeDescriptor descriptor() {
        return {.modeNum = static_cast<std::int32_t>(below(6)),
                .flags = pick<std::uint32_t>({valid, valid, valid, valid | native, native, 0}),
                .width = pick<std::int64_t>({600, 1200, 1200, 2400, 0}),
                .height = pick<std::int64_t>({600, 1200, 600, 1200, -600}),
                .depth = pick<std::int64_t>({8, 8, 8, 8, 4}),
                .hz = pick<double>({0.0, 50.0, 59.5, 59.94, 60.0, 60.5}),
                .density = pick<float>({1.0F, 2.0F, 1.5F})};
    }

    // Not the library's distributions: their results differ between standard libraries.
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

    template <typename T>
    T pick(std::initializer_list<T> values) {
        return *(values.begin() + static_cast<std::ptrdiff_t>(below(values.size())));
    }

    std::mt19937_64 random_;
};

constexpr std::uint64_t seed = 20240229;
constexpr int rounds = 2000;

bool offered(const DisplayModeDescriptor& m) {
    return (m.flags & valid) != 0 && m.depth == 8 && m.width > 0 && m.height > 0;
}

/// A mode's rank in the order: what compares less comes first.
using Rank = std::tuple<std::int64_t, int, double, std::int32_t>;
Rank rank(const DisplayModeDescriptor& m) {
    return {-(m.width * m.height), m.density > 1.5F ? 0 : 1, -m.hz, m.modeNum};
}

bool matches(const DisplayModeDescriptor& m, const DisplayModeSpec& spec) {
    return (m.flags & valid) != 0 && m.depth == 8 && m.width == spec.width &&
           m.height == spec.height && (m.density > 1.5F) == spec.scaled &&
           (spec.hz == 0 || m.spec().hz == spec.hz);
}

TEST(ExactMatchProperty, IsTheFirstOfTheBestCandidates) {
    Generator generate(seed);
    int found = 0;
    for (int round = 0; round < rounds; ++round) {
        const Modes modes = generate.list();
        const DisplayModeSpec spec = generate.spec();
        Modes candidates;
        std::ranges::copy_if(modes, std::back_inserter(candidates),
                             [&](const auto& m) { return matches(m, spec); });
        const auto match = DisplayModeControl::exactMatch(spec, modes);
        ASSERT_EQ(match.has_value(), !candidates.empty());
        if (!match) {
            continue;
        }
        ++found;
        std::ranges::stable_sort(candidates, {}, rank);  // all of one size and scaledness
        EXPECT_EQ(*match, candidates.front());
    }
    EXPECT_GT(found, rounds / 10);  // otherwise the lists would prove little
}

TEST(ExactMatchProperty, DoesNotDependOnTheOrderOfDifferentRanks) {
    Generator generate(seed);
    for (int round = 0; round < rounds; ++round) {
        const Modes modes = generate.list();
        const DisplayModeSpec spec = generate.spec();
        const auto match = DisplayModeControl::exactMatch(spec, modes);
        const auto shuffled = DisplayModeControl::exactMatch(spec, generate.shuffled(modes));
        ASSERT_EQ(match.has_value(), shuffled.has_value());
        if (match) {
            EXPECT_EQ(rank(*match), rank(*shuffled));
        }
    }
}

TEST(ExactMatchProperty, FindsTheSpecOfEveryOfferedMode) {
    Generator generate(seed);
    for (int round = 0; round < rounds; ++round) {
        const Modes modes = generate.list();
        for (const DisplayModeDescriptor& kept : DisplayModeControl::dedupedModes(modes)) {
            const auto match = DisplayModeControl::exactMatch(kept.spec(), modes);
            ASSERT_TRUE(match.has_value());
            if (kept.spec().hz != 0) {
                EXPECT_EQ(match->spec(), kept.spec());
            }
        }
    }
}

TEST(DedupedModesProperty, KeepExactlyTheFirstOfEachOfferedSpec) {
    Generator generate(seed);
    int dropped = 0;
    for (int round = 0; round < rounds; ++round) {
        const Modes modes = generate.list();
        Modes firsts;
        for (const DisplayModeDescriptor& m : modes) {
            const bool known = std::ranges::any_of(
                firsts, [&](const auto& first) { return first.spec() == m.spec(); });
            if (offered(m) && !known) {
                firsts.push_back(m);
            }
            dropped += offered(m) && known ? 1 : 0;
        }
        EXPECT_THAT(DisplayModeControl::dedupedModes(modes),
                    testing::UnorderedElementsAreArray(firsts));
    }
    EXPECT_GT(dropped, rounds / 10);
}

TEST(DedupedModesProperty, AreOrderedAndStable) {
    Generator generate(seed);
    int equals = 0;
    for (int round = 0; round < rounds; ++round) {
        const Modes modes = generate.list();
        const Modes kept = DisplayModeControl::dedupedModes(modes);
        const auto positionOf = [&](const DisplayModeDescriptor& m) {
            return std::ranges::find(modes, m) - modes.begin();
        };
        for (std::size_t i = 1; i < kept.size(); ++i) {
            ASSERT_LE(rank(kept[i - 1]), rank(kept[i]));
            if (rank(kept[i - 1]) == rank(kept[i])) {
                ++equals;
                EXPECT_LT(positionOf(kept[i - 1]), positionOf(kept[i]));
            }
        }
        EXPECT_EQ(DisplayModeControl::dedupedModes(kept), kept);
    }
    EXPECT_GT(equals, 10);
}

TEST(DedupedModesProperty, OrderAnyTwoModesAsTheyOrderTheWholeList) {
    Generator generate(seed);
    for (int round = 0; round < rounds / 10; ++round) {
        const Modes kept = DisplayModeControl::dedupedModes(generate.list());
        for (std::size_t i = 0; i < kept.size(); ++i) {
            for (std::size_t j = i + 1; j < kept.size(); ++j) {
                const Modes forward{kept[i], kept[j]};
                const Modes backward{kept[j], kept[i]};
                EXPECT_EQ(DisplayModeControl::dedupedModes(forward), forward);
                EXPECT_EQ(DisplayModeControl::dedupedModes(backward),
                          rank(kept[i]) == rank(kept[j]) ? backward : forward);
            }
        }
    }
}

TEST(DedupedModesProperty, DoNotDependOnTheOrderOfDifferentSpecsAndRanks) {
    Generator generate(seed);
    for (int round = 0; round < rounds; ++round) {
        const Modes kept = DisplayModeControl::dedupedModes(generate.list());
        const Modes shuffled = DisplayModeControl::dedupedModes(generate.shuffled(kept));
        EXPECT_THAT(shuffled, testing::UnorderedElementsAreArray(kept));
        for (std::size_t i = 0; i < kept.size(); ++i) {
            EXPECT_EQ(rank(shuffled[i]), rank(kept[i]));
        }
    }
}

}  // namespace
}  // namespace tolvaran::tests
