// Kills the process between any two of its calls to the outside, and in the middle of each write. A
// killed process leaves only its files and its Mac. They are copied at that moment, before any
// destructor runs; a new helper starts on them, and the story goes on. It must end where it ends
// without a kill.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>

#include "player/player.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/host/files.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/findings.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using simulator::Scenario;

constexpr pid_t secondProcessID = 777;

/// What a killed process leaves.
struct Remains {
    std::string moment;  // for messages
    json mac;
    std::shared_ptr<TemporaryDirectory> root;
    std::size_t eventsHappened = 0;
    simulator::clock::Time at = 0;
};

/// The files below the root, without what changes from run to run: the random end of an unfinished
/// file's name, the log, the heartbeat.
std::string fingerprint(const std::string& root) {
    // A process may have changed its own environment.
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR",
                                    root + "/ApplicationSupport");
    json files = simulator::stateFiles(root + "/Logs");
    json stable;
    for (const auto& [path, content] : files.items()) {
        const bool isUnfinished = path.find(".unfinished-") != std::string::npos ||
                                  path.find(".removing-") != std::string::npos;
        stable[isUnfinished ? path.substr(0, path.rfind('-')) : path] =
            path.find(".helper-heartbeat") == std::string::npos ? content : json();
    }
    return stable.dump();
}

class Kill : public testing::TestWithParam<std::string> {
  protected:
    /// The story, counting the events that have happened.
    Scenario counted() {
        Scenario scenario = story_.scenario;
        for (simulator::PlannedEvent& planned : scenario.timeline) {
            planned.perform = [this, perform = planned.perform] {
                perform();
                ++eventsHappened_;
            };
        }
        return scenario;
    }

    /// Keeps what a kill at this moment would leave, unless an earlier one leaves the same.
    void keepRemains(const std::string& root, const std::string& moment) {
        ++points_;
        const simulator::clock::Time now = simulator::clock::now();
        const json mac = simulator::machine();
        if (!seen_
                 .insert(mac.dump() + fingerprint(root) + std::to_string(now) + " " +
                         std::to_string(eventsHappened_))
                 .second) {
            return;
        }
        Remains left{.moment = moment,
                     .mac = mac,
                     .root = std::make_shared<TemporaryDirectory>(),
                     .eventsHappened = eventsHappened_,
                     .at = now};
        fs::copy(root, left.root->path(), fs::copy_options::recursive);
        remains_.push_back(std::move(left));
    }

    /// Plays the story once. The write with the call number `halved` writes only its first byte.
    void play(std::size_t halved) {
        const TemporaryDirectory root;
        std::size_t calls = 0;
        eventsHappened_ = 0;
        const auto decide = [&](const std::string& function) {
            const std::size_t call = calls++;
            if (halved == none || call == halved + 1) {
                keepRemains(root.path(),
                            (halved == none ? "before call " : "in the write before ") +
                                std::to_string(call) + ", " + function);
            }
            return call == halved ? json{{"result", {{"bytes", 1}}}} : json();
        };
        simulator::play(counted(), {.root = root.path(),
                                    .quiet = true,
                                    .prepare = [&] { simulator::decideCalls(decide); },
                                    .program = story_.program,
                                    .atEnd = [&] { keepRemains(root.path(), "at the end"); }});
    }

    /// The rest of the story after a kill.
    Scenario remainder(const Remains& left) const {
        Scenario rest = simulator::readScenario({{"mac", left.mac}}, ".", "after a kill");
        rest.faults = story_.scenario.faults;
        for (std::size_t i = left.eventsHappened; i < story_.scenario.timeline.size(); ++i) {
            rest.timeline.push_back(story_.scenario.timeline[i]);
            simulator::clock::Time& at = rest.timeline.back().at;
            at = std::max<simulator::clock::Time>(at - left.at, 0);
        }
        rest.until = std::max<simulator::clock::Time>(story_.scenario.until - left.at, 0);
        return rest;
    }

    void check(const Remains& left) {
        json mac = left.mac;
        if (!story_.program) {
            const auto next = [] { simulator::setProcessID(secondProcessID); };
            mac = simulator::play(remainder(left),
                                  {.root = left.root->path(), .quiet = true, .prepare = next})
                      .result.at("mac");
        }
        const Ending ending = healedEnding(mac, left.root->path());
        for (const std::string& place : wrongPlaces(trial_.calm(), ending)) {
            EXPECT_TRUE(story_.program && isAsBefore(trial_.calm().filesBefore, ending, place))
                << "killed " << left.moment << ": ends differently at " << place;
        }
        EXPECT_EQ(unfinishedFiles(left.root->path(), "left"), std::vector<std::string>{})
            << "killed " << left.moment;
    }

    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    const Story& story_ = story(GetParam());
    Trial trial_{story_};
    std::size_t eventsHappened_ = 0;
    std::size_t points_ = 0;
    std::set<std::string> seen_;
    std::vector<Remains> remains_;
};

TEST_P(Kill, ANewHelperEndsWhereTheOldOneWouldHave) {
    play(none);
    const std::vector<Call>& calls = trial_.calm().calls;
    for (std::size_t n = 0; n < calls.size(); ++n) {
        if (calls[n].function == "write" && calls[n].subject.starts_with("State/")) {
            play(n);
        }
    }
    constexpr std::size_t killsTried = 24;
    for (std::size_t i = 0; i < remains_.size(); i += stride(remains_.size(), killsTried)) {
        check(remains_[i]);
    }
    addStatistics({{"kill points", points_}, {"kill states", remains_.size()}});
}

INSTANTIATE_TEST_SUITE_P(Stories, Kill, testing::ValuesIn(storyNames()),
                         [](const auto& name) { return name.param; });

}  // namespace
}  // namespace tolvaran::tests
