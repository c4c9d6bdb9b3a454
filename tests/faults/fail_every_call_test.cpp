// Fails every call to the outside in turn: the Nth call of every story, for every N, once and from
// then on, in each form in which that call can fail. A helper that then runs without faults must
// end where it would have ended had there never been one.
//
// `make torture` tries every call in every form. The ordinary test run tries at most 300 calls of a
// story, spread evenly, each in one of its forms. Builds with sanitizers take a smaller sample.
#include <gtest/gtest.h>

#include <limits>

#include "simulator/faults/outside_calls.hpp"
#include "tests/faults/expected_lines.hpp"
#include "tests/faults/findings.hpp"
#include "tests/faults/torture.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

constexpr std::size_t callsTried = 16;
constexpr std::size_t forGood = std::numeric_limits<std::size_t>::max();

/// The forms to try on the call with this number.
std::vector<json> formsFor(const std::string& function, std::size_t index) {
    const std::vector<json>& all = simulator::failureForms(function);
    if (all.empty() || effort() == Effort::all) {
        return all;
    }
    return {all[index % all.size()]};
}

class FailEveryCall : public testing::TestWithParam<std::string> {
  protected:
    /// Fails call `n`, then later calls to the same function until `count` have failed.
    FaultRun fail(std::size_t n, const json& form, std::size_t count) {
        ++runs_;
        std::size_t left = count;
        const std::string& function = trial_.calm().calls[n].function;
        return trial_.run([&](std::size_t index, const std::string& called) {
            const bool fails = index >= n && called == function && left > 0;
            left -= fails ? 1 : 0;
            return fails ? form : json();
        });
    }

    void check(std::size_t n, const json& form) {
        const Call& call = trial_.calm().calls[n];
        const std::string what = call.function + " " + call.subject + " (call " +
                                 std::to_string(n) + ") failing with " + form.dump();
        const FaultRun once = fail(n, form, 1);
        for (const std::string& finding : findings(trial_.calm(), once)) {
            ADD_FAILURE() << what << " once: " << finding;
        }
        EXPECT_EQ(missingLine(call, form, Lasting::once, once.log), "")
            << what << " once: not in the log";
        const FaultRun lasting = fail(n, form, forGood);
        for (const std::string& finding : findings(trial_.calm(), lasting)) {
            ADD_FAILURE() << what << " from then on: " << finding;
        }
        EXPECT_EQ(missingLine(call, form, Lasting::forGood, lasting.log), "")
            << what << " from then on: not in the log";
    }

    Trial trial_{story(GetParam())};
    std::size_t runs_ = 0;
};

TEST_P(FailEveryCall, HealsWithTheNextRun) {
    const FaultRun& calm = trial_.calm();
    ASSERT_FALSE(calm.calls.empty());
    EXPECT_EQ(calm.leftOver, std::vector<std::string>{});
    std::size_t points = 0;
    for (std::size_t n = 0; n < calm.calls.size(); n += longStride(calm.calls.size(), callsTried)) {
        for (const json& form : formsFor(calm.calls[n].function, n)) {
            check(n, form);
            ++points;
        }
    }
    addStatistics({{"fault points", points}, {"runs", runs_}});
}

INSTANTIATE_TEST_SUITE_P(Stories, FailEveryCall, testing::ValuesIn(storyNames()),
                         [](const auto& name) { return name.param; });

}  // namespace
}  // namespace tolvaran::tests
