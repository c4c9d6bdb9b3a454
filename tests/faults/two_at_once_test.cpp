// The helper's restore run and a main application at work at the same time. One main application
// has crashed; the helper's run, begun while none was running, and a new main application
// interleave in every way. When both have ended and the helper has run once more, the user's Mac
// must be as it was before the crashed one started, and nothing may be left over.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>

#include "helper/restore_sequence.hpp"
#include "restore/support/files.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/duet.hpp"
#include "tests/faults/main_application_parts.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// A main application that has crashed, if any, and the next one.
struct TwoAtOnceCase {
    std::string name;
    std::function<void()> crashed;
    std::function<void()> next;
};

std::vector<TwoAtOnceCase> cases() {
    std::vector<TwoAtOnceCase> all;
    for (const Part& part : parts()) {
        const std::string name = part.name;
        const auto both = [part] {
            part.take();
            part.giveBack();
        };
        all.push_back({name + "_after_a_crash", part.take, part.take});
        all.push_back({name + "_and_back_after_a_crash", part.take, both});
        all.push_back({name, [] {}, part.take});
        all.push_back({name + "_and_back", [] {}, both});
    }
    return all;
}

class TwoAtOnceTrial : public testing::TestWithParam<TwoAtOnceCase> {
  protected:
    /// Runs both in these turns, and checks the result.
    /// @param isNoticed whether the helper looks at the records before the next main application
    ///                  starts, and so notices everything that it changes
    CallCounts check(const std::vector<Turn>& turns, bool isNoticed = true) {
        HelperProcess process(usersMac());
        const json before = settings();
        inAnotherProcess(GetParam().crashed, 700);
        const auto keptBefore = keptRecords();
        const CallCounts counts = isNoticed ? playFromTheRunsBeginning(turns) : play(turns);
        // A new helper, which first clears away what a killed process has left.
        files::removeAbandonedFiles(TolvaranPaths::stateDir());
        EXPECT_EQ(unfinishedRecords(), std::vector<std::string>{});
        runRestoreSequence("safety-tick", std::nullopt);
        runRestoreSequence("safety-tick", std::nullopt);
        EXPECT_EQ(json::diff(before, settings()), json::array());
        EXPECT_EQ(pendingRecords(), std::vector<std::string>{});
        checkKeptRecords(keptBefore, turns);
        if (HasFailure() && !std::exchange(hasPrintedLog_, true)) {
            for (const std::string& line : process.takeLog()) {
                ADD_FAILURE() << line;
            }
        }
        return counts;
    }

    /// The helper goes by the records that were there when it learned which applications run. The
    /// next main application starts after that, so it is not among them.
    static CallCounts playFromTheRunsBeginning(const std::vector<Turn>& turns) {
        const files::Recovery begun(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
        return play(turns);
    }

    static CallCounts play(const std::vector<Turn>& turns) {
        return tests::play({.helper = [] { runRestoreSequence("safety-tick", std::nullopt); },
                            .mainApplication = GetParam().next},
                           turns);
    }

    /// No arrangement and no mark of absent displays may be lost, and none may be missing if the
    /// main application was not killed.
    void checkKeptRecords(const std::map<std::string, std::size_t>& before,
                          const std::vector<Turn>& turns) {
        const auto kept = keptRecords();
        const bool isKilled = std::ranges::any_of(turns, [](const Turn& turn) {
            return turn.endsKilled && turn.actor == Actor::mainApplication;
        });
        if (!isKilled) {
            EXPECT_EQ(kept, allKept_.value_or(kept));
            allKept_ = allKept_.value_or(kept);
        }
        for (const auto& [signature, count] : before) {
            EXPECT_TRUE(kept.contains(signature) && kept.at(signature) >= count) << signature;
        }
    }

    std::optional<std::map<std::string, std::size_t>> allKept_;  // of the first run, unswitched
    bool hasPrintedLog_ = false;
};

TEST_P(TwoAtOnceTrial, OneSwitch) {
    const CallCounts calls = check({});
    std::size_t runs = 0;
    for (std::size_t k = 0; k <= calls.helper; k += stride(calls.helper, 40), ++runs) {
        SCOPED_TRACE("main application after call " + std::to_string(k) + " of the helper");
        check({{.actor = Actor::helper, .calls = k}, {.actor = Actor::mainApplication}});
    }
    for (std::size_t k = 0; k <= calls.mainApplication;
         k += stride(calls.mainApplication, 40), ++runs) {
        SCOPED_TRACE("main application killed after call " + std::to_string(k));
        check({{.actor = Actor::helper, .calls = calls.helper / 2},
               {.actor = Actor::mainApplication, .calls = k, .endsKilled = true}});
    }
    for (std::size_t k = 0; k <= calls.mainApplication;
         k += wideStride(calls.mainApplication, 25), ++runs) {
        SCOPED_TRACE("helper after call " + std::to_string(k) + " of the main application");
        check({{.actor = Actor::mainApplication, .calls = k}, {.actor = Actor::helper}});
    }
    for (std::size_t k = 0; k <= calls.helper; k += wideStride(calls.helper, 10), ++runs) {
        SCOPED_TRACE("helper killed after call " + std::to_string(k));
        check({{.actor = Actor::mainApplication, .calls = calls.mainApplication / 2},
               {.actor = Actor::helper, .calls = k, .endsKilled = true}});
    }
    addStatistics({{"one switch", runs}});
}

/// The system lists an application only some time after it has started.
TEST_P(TwoAtOnceTrial, ARunThatBeginsBeforeTheNextOneIsListed) {
    const CallCounts calls = check({}, false);
    std::size_t runs = 0;
    for (std::size_t k = 0; k <= calls.mainApplication;
         k += wideStride(calls.mainApplication, 40), ++runs) {
        SCOPED_TRACE("helper after call " + std::to_string(k) + " of the main application");
        check({{.actor = Actor::mainApplication, .calls = k}, {.actor = Actor::helper}}, false);
    }
    constexpr std::size_t looks = 16;  // more calls than a run needs to look at the records
    for (std::size_t k = 0; k <= looks; ++k, ++runs) {
        SCOPED_TRACE("main application after call " + std::to_string(k) + " of the helper's look");
        check({{.actor = Actor::helper, .calls = k},
               {.actor = Actor::mainApplication, .calls = calls.mainApplication / 2},
               {.actor = Actor::helper}},
              false);
    }
    addStatistics({{"one switch", runs}});
}

TEST_P(TwoAtOnceTrial, TwoSwitches) {
    const CallCounts calls = check({});
    const std::size_t pairs = (calls.helper + 1) * (calls.mainApplication + 1);
    std::size_t runs = 0;
    const std::size_t step = wideStride(pairs, 60);
    for (std::size_t pair = 0; pair < pairs; pair += step) {
        const std::size_t j = pair / (calls.mainApplication + 1);
        const std::size_t k = pair % (calls.mainApplication + 1);
        const std::string places = std::to_string(j) + " of the helper, then call " +
                                   std::to_string(k) + " of the main application";
        for (const bool isKilled : {false, true}) {
            SCOPED_TRACE("after call " + places + (isKilled ? ", killed" : ""));
            check({{.actor = Actor::helper, .calls = j},
                   {.actor = Actor::mainApplication, .calls = k, .endsKilled = isKilled},
                   {.actor = Actor::helper}});
            ++runs;
        }
        if (effort() != Effort::all && pair / step % 5 != 0) {
            continue;
        }
        SCOPED_TRACE("the main application first: after its call " + std::to_string(k) +
                     ", then call " + std::to_string(j) + " of the helper");
        check({{.actor = Actor::mainApplication, .calls = k},
               {.actor = Actor::helper, .calls = j},
               {.actor = Actor::mainApplication}});
        ++runs;
    }
    addStatistics({{"two switches", runs}});
}

INSTANTIATE_TEST_SUITE_P(Parts, TwoAtOnceTrial, testing::ValuesIn(cases()),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace tolvaran::tests
