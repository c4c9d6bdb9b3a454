// Fails every pair of calls in one run, each once: recovering from one failure makes further calls,
// and those can fail as well.
//
// `make torture` tries every pair; the ordinary test run, the first few of each story. The pairs of
// a story come in a fixed order that is spread over all of them, so that any first part is a fair
// sample and a long run can be resumed: with TOLVARAN_TORTURE_PAIRS=N each story stops after N
// pairs, with TOLVARAN_TORTURE_PAIRS_FROM=N it skips the first N. Each story is split into several
// tests, so that those with the most pairs use every processor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <set>
#include <tuple>
#include <utility>

#include "simulator/faults/outside_calls.hpp"
#include "tests/faults/findings.hpp"
#include "tests/faults/torture.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

constexpr std::uint64_t pairsTried = 12;

/// How many tests share the pairs of a story.
constexpr std::uint64_t sharesOfPairs = 4;

std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* const value = std::getenv(name);
    return value == nullptr || *value == '\0' ? otherwise : std::strtoull(value, nullptr, 10);
}

/// All pairs n < m of `calls` numbers, in a scattered order.
class Pairs {
  public:
    explicit Pairs(std::uint64_t calls) : count_(calls * (calls - 1) / 2) {
        // A step of the golden ratio spreads neighbours apart; one coprime to the count reaches
        // every pair once.
        step_ = static_cast<std::uint64_t>(static_cast<double>(count_) * 0.618);
        while (std::gcd(step_, count_) != 1) {
            ++step_;
        }
    }

    std::uint64_t count() const { return count_; }

    std::pair<std::size_t, std::size_t> at(std::uint64_t place) const {
        const std::uint64_t index = place * step_ % count_;
        auto m =
            static_cast<std::uint64_t>((1 + std::sqrt(1.0 + 8.0 * static_cast<double>(index))) / 2);
        while (m * (m - 1) / 2 > index) {
            --m;
        }
        while (m * (m + 1) / 2 <= index) {
            ++m;
        }
        return {index - m * (m - 1) / 2, m};
    }

  private:
    std::uint64_t count_;
    std::uint64_t step_;
};

/// A way for the function to fail, varying with the number; null if it cannot fail.
json oneForm(const std::string& function, std::uint64_t number) {
    const std::vector<json>& forms = simulator::failureForms(function);
    return forms.empty() ? json() : forms[number % forms.size()];
}

TEST(Pairs, EveryPairComesOnce) {
    for (const std::uint64_t calls : {2U, 3U, 7U, 50U}) {
        const Pairs pairs(calls);
        std::set<std::pair<std::size_t, std::size_t>> seen;
        for (std::uint64_t place = 0; place < pairs.count(); ++place) {
            const auto [n, m] = pairs.at(place);
            EXPECT_LT(n, m);
            EXPECT_LT(m, calls);
            EXPECT_TRUE(seen.emplace(n, m).second) << n << ", " << m << " of " << calls;
        }
        EXPECT_EQ(seen.size(), calls * (calls - 1) / 2);
    }
}

/// A story's name, and the number of one part of its pairs.
using StoryPart = std::tuple<std::string, std::uint64_t>;

class FailEveryPair : public testing::TestWithParam<StoryPart> {
  protected:
    void check(std::size_t n, std::size_t m, std::uint64_t number) {
        const FaultRun hit = trial_.run([&](std::size_t index, const std::string& function) {
            return index == n || index == m ? oneForm(function, number + index) : json();
        });
        for (const std::string& finding : findings(trial_.calm(), hit)) {
            ADD_FAILURE() << "calls " << n << " and " << m << " failing, " << described(hit) << ": "
                          << finding;
        }
    }

    static std::string described(const FaultRun& hit) {
        std::string text = "pair";
        for (const Call& call : hit.failed) {
            text += " " + call.function + " " + call.subject;
        }
        return text;
    }

    Trial trial_{story(std::get<0>(GetParam()))};
};

TEST_P(FailEveryPair, HealsWithTheNextRun) {
    const Pairs pairs(trial_.calm().calls.size());
    const std::uint64_t first = numberFromEnvironment("TOLVARAN_TORTURE_PAIRS_FROM", 0);
    const std::uint64_t most = effort() == Effort::all
                                   ? numberFromEnvironment("TOLVARAN_TORTURE_PAIRS", pairs.count())
                                   : pairsTried;
    const std::uint64_t end = std::min(pairs.count(), first + most);
    const std::uint64_t part = std::get<1>(GetParam());
    std::uint64_t tried = 0;
    for (std::uint64_t place = first + part; place < end; place += sharesOfPairs, ++tried) {
        const auto [n, m] = pairs.at(place);
        check(n, m, place);
    }
    addStatistics(
        {{"pairs", tried}, {"pairs in all", part == 0 ? pairs.count() : 0}, {"runs", tried}});
}

INSTANTIATE_TEST_SUITE_P(Stories, FailEveryPair,
                         testing::Combine(testing::ValuesIn(storyNames()),
                                          testing::Range<std::uint64_t>(0, sharesOfPairs)),
                         [](const auto& part) {
                             return std::get<0>(part.param) + "_" +
                                    std::to_string(std::get<1>(part.param) + 1);
                         });

}  // namespace
}  // namespace tolvaran::tests
