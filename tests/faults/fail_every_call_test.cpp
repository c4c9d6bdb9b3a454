// Fails every call to the outside in turn: the Nth call of every story, for every N, once and from
// then on, in each form in which that call can fail. A helper that then runs without faults must
// end where it would have ended had there never been one.
//
// `make torture` tries every call in every form. The ordinary test run tries at most 300 calls of a
// story, spread evenly, each in one of its forms. Builds with sanitizers take a smaller sample.
#include <gtest/gtest.h>

#include <limits>
#include <utility>

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
    struct Failing {
        FaultRun run;
        std::size_t calls;  // to the function, from the failing call on
    };

    /// Fails call `n`, then later calls to the same function until `count` have failed.
    Failing fail(std::size_t n, const json& form, std::size_t count) {
        ++runs_;
        std::size_t calls = 0;
        const std::string& function = trial_.calm().calls[n].function;
        FaultRun run = trial_.run([&](std::size_t index, const std::string& called) {
            calls += index >= n && called == function ? 1 : 0;
            return index >= n && called == function && calls <= count ? form : json();
        });
        return {std::move(run), calls};
    }

    void expectHealed(const Call& call, const json& form, Lasting lasting, const FaultRun& run,
                      const std::string& what) {
        for (const std::string& finding : findings(trial_.calm(), run)) {
            ADD_FAILURE() << what << ": " << finding;
        }
        EXPECT_EQ(missingLine(call, form, lasting, run.log), "") << what << ": not in the log";
    }

    void check(std::size_t n, const json& form) {
        const Call& call = trial_.calm().calls[n];
        const std::string what = call.function + " " + call.subject + " (call " +
                                 std::to_string(n) + ") failing with " + form.dump();
        const Failing once = fail(n, form, 1);
        expectHealed(call, form, Lasting::once, once.run, what + " once");
        // If the function is not called again, failing from then on is the same run.
        const Failing lasting = once.calls > 1 ? fail(n, form, forGood) : once;
        expectHealed(call, form, Lasting::forGood, lasting.run, what + " from then on");
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
