// Fails every call to the outside in turn: the Nth call of every scenario, for every N, once and
// from then on, in each form in which that call can fail. After each, a helper that meets no fault
// must end where it would have ended had there never been one.
//
// With the environment variable TOLVARAN_TORTURE=1 every call is tried in every form. Without it,
// which is how the ordinary test run does it, each scenario has a fixed sample of its calls tried,
// spread evenly over the run, each in one of its forms.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/faults/failure_forms.hpp"
#include "tests/faults/fault_run.hpp"
#include "tests/faults/prescribed_losses.hpp"
#include "tests/faults/torture.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// The forms to try on the call with this number.
std::vector<json> formsFor(const std::string& function, std::size_t index) {
    const std::vector<json>& all = failureForms(function);
    if (all.empty() || isTorture()) {
        return all;
    }
    return {all[index % all.size()]};
}

class FailEveryCall : public testing::TestWithParam<std::string> {
  protected:
    void check(const FaultRun& calm, const FaultRun& hit, const std::string& function,
               const std::string& what) {
        for (const std::string& place : differences(calm.healed, hit.healed)) {
            if (prescribedLoss(function, place).empty()) {
                ADD_FAILURE() << what << ": ends differently at " << place;
            }
        }
        for (const std::string& thing : hit.leftOver) {
            ADD_FAILURE() << what << ": leaves " << thing;
        }
    }
};

TEST_P(FailEveryCall, HealsWithTheNextRun) {
    const simulator::Scenario scenario = simulator::loadScenario(GetParam());
    const auto noFault = [](std::size_t, const std::string&) { return json(); };
    const FaultRun calm = runWithFaults(scenario, noFault);
    ASSERT_FALSE(calm.calls.empty());
    EXPECT_EQ(calm.leftOver, std::vector<std::string>{});
    for (std::size_t n = 0; n < calm.calls.size() && !HasFatalFailure();
         n += stride(calm.calls.size(), 24)) {
        const std::string& function = calm.calls[n];
        for (const json& form : formsFor(function, n)) {
            const std::string what =
                function + " (call " + std::to_string(n) + ") failing with " + form.dump();
            if (!canFailForGood(function)) {
                continue;
            }
            check(calm,
                  runWithFaults(scenario,
                                [&](std::size_t index, const std::string&) {
                                    return index == n ? form : json();
                                }),
                  function, what + " once");
            if (!canFailForGood(function)) {
                continue;
            }
            check(calm,
                  runWithFaults(scenario,
                                [&](std::size_t index, const std::string& called) {
                                    return index >= n && called == function ? form : json();
                                }),
                  function, what + " from then on");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FailEveryCall, testing::ValuesIn(faultlessScenarios()),
                         [](const auto& scenario) {
                             std::string name =
                                 std::filesystem::path(scenario.param).stem().string();
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace tolvaran::tests
