// Cuts the power at every moment of every scenario: whatever the disk may then hold, a new helper
// must end where it would have ended had the power stayed.
//
// A moment is the time just before a call to the outside, and the end of the run. The disk model
// says what the disk may hold. The Mac restarts as it was at the cut, since it keeps its
// arrangement, modes and preferences itself; what a restart would reset (the cursor's association,
// the overrides of single menu bars) stays as well, so that only the helper heals it. Tolvaran does
// not come back.
//
// The expected ending is that of the scenario without the events after the cut, followed by a
// helper without Tolvaran. A scenario with faults of its own takes another course if they are not
// met, so there a cut must end where a helper killed at the same moment ends.
//
// Every state at every moment is tried; in builds with sanitizers, a fixed sample of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "player/player.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/disk_model.hpp"
#include "tests/faults/fault_run.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using simulator::Scenario;

constexpr const char* applicationSupport = "ApplicationSupport";

/// What a power cut has left.
struct Cut {
    std::string when;
    std::size_t events;  // how many of the timeline had happened
    json mac;
    std::size_t macNumber;  // the same for equal Macs
    Tree tree;
    Tree whole;  // had nothing been lost
};

/// Follows a run and collects every distinct state that a power cut may leave.
class CutCollector {
  public:
    /// Begins to follow the run whose files lie below this directory.
    void begin(const std::string& root) {
        disk_.emplace(root);
        simulator::observeFileCalls([this](const simulator::FileCall& call) { disk_->take(call); });
        simulator::decideCalls([this](const std::string& function) {
            collectBefore(function);
            return json();
        });
    }

    void countEvent() { ++events_; }

    void collect(const std::string& when, const json& mac) {
        const std::pair present(disk_->version(), events_);
        if (present != treesBelongTo_) {
            adopted_ = disk_->adoptForeignChanges() || adopted_;
            treesBelongTo_ = present;
            PowerCut cut = disk_->cut();
            trees_ = std::move(cut.trees);
            sampled_ += cut.wasSampled ? 1 : 0;
        }
        const auto macNumber = macs_.try_emplace(mac.dump(), macs_.size()).first->second;
        for (const Tree& tree : trees_) {
            if (seen_.emplace(events_, macNumber, tree).second) {
                cuts_.push_back({.when = when,
                                 .events = events_,
                                 .mac = mac,
                                 .macNumber = macNumber,
                                 .tree = tree,
                                 .whole = disk_->whole()});
            }
        }
    }

    const std::vector<Cut>& cuts() const { return cuts_; }
    /// At how many moments there were too many states to try each of them.
    std::size_t sampledMoments() const { return sampled_; }
    /// Whether files changed without a call of the helper.
    bool hasForeignChanges() const { return adopted_; }
    const std::set<std::string>& unknownCalls() const { return disk_->unknownCalls(); }

  private:
    /// Everything that could have changed since the last call. The host's functions, whose names
    /// are in lower case, do not change the Mac.
    using Present = std::tuple<std::size_t, std::size_t, double, std::size_t>;

    void collectBefore(const std::string& function) {
        const Present present(disk_->version(), events_, simulator::now(), applesCalls_);
        if (present != collected_) {
            collect("before " + function + ", call " + std::to_string(calls_),
                    simulator::machine());
            collected_ = present;
        }
        ++calls_;
        applesCalls_ += std::isupper(static_cast<unsigned char>(function.front())) != 0 ? 1 : 0;
    }

    std::optional<DiskModel> disk_;
    // The disk's version and the number of events to which trees_ belongs.
    std::optional<std::pair<std::size_t, std::size_t>> treesBelongTo_;
    std::set<Tree> trees_;
    std::map<std::string, std::size_t> macs_;                    // every one so far, numbered
    std::set<std::tuple<std::size_t, std::size_t, Tree>> seen_;  // events, Mac, disk
    std::vector<Cut> cuts_;
    std::optional<Present> collected_;
    std::size_t calls_ = 0;
    std::size_t applesCalls_ = 0;
    std::size_t events_ = 0;
    std::size_t sampled_ = 0;
    bool adopted_ = false;
};

/// Plays the scenario to its end, following it.
void follow(const Scenario& scenario, CutCollector& collector) {
    Scenario counted = scenario;
    for (simulator::PlannedEvent& event : counted.timeline) {
        event.perform = [&collector, perform = event.perform] {
            collector.countEvent();
            perform();
        };
    }
    const TemporaryDirectory root;
    const auto prepare = [&] { collector.begin(root / applicationSupport); };
    const auto played =
        simulator::play(counted, {.root = root.path(), .quiet = true, .prepare = prepare});
    collector.collect("at the end", played.result.at("mac"));
}

/// Where the scenario ends if nothing happens to the Mac after its first `events` events.
Ending calmEnding(const Scenario& scenario, std::size_t events) {
    Scenario shortened = scenario;
    std::stable_sort(shortened.timeline.begin(), shortened.timeline.end(),
                     [](const auto& a, const auto& b) { return a.at < b.at; });
    shortened.timeline.resize(events);
    const TemporaryDirectory root;
    const auto played = simulator::play(shortened, {.root = root.path(), .quiet = true});
    return healedEnding(played.result.at("mac"), root.path());
}

/// Plays the first run without Tolvaran on this tree.
Ending play(const Tree& tree, const Cut& cut) {
    const TemporaryDirectory root;
    layOut(tree, root / applicationSupport);
    const Ending ending = healedEnding(cut.mac, root.path());
    for (const auto& [path, content] : treeBelow(root / applicationSupport)) {
        EXPECT_EQ(path.find(".unfinished-"), std::string::npos)
            << "a power cut " << cut.when << " leaves " << path;
    }
    return ending;
}

std::string describe(const Tree& tree) {
    std::string text;
    for (const auto& [path, content] : tree) {
        text += "\n    " + path + (content ? ": " + json(*content).dump(-1, ' ', true) : "/");
    }
    return text;
}

class PowerCutTest : public testing::TestWithParam<std::string> {
  protected:
    PowerCutTest() : scenario(scenarioToTry(GetParam())) {}

    void check(const Cut& cut) {
        EXPECT_EQ(differences(expected(cut), endingOn(cut.tree, cut)), std::vector<std::string>{})
            << "a power cut " << cut.when << " ends differently" << describe(cut.tree);
    }

    const Scenario scenario;

  private:
    /// Where the first run without Tolvaran ends on this tree. Each is played once: what the whole
    /// disk holds is the same at many moments.
    const Ending& endingOn(const Tree& tree, const Cut& cut) {
        const std::pair key(cut.macNumber, tree);
        const auto known = endings_.find(key);
        return known != endings_.end() ? known->second
                                       : endings_.emplace(key, play(tree, cut)).first->second;
    }

    Ending expected(const Cut& cut) {
        if (!scenario.faults.empty()) {
            return endingOn(cut.whole, cut);
        }
        const auto calm = calm_.try_emplace(cut.events);
        if (calm.second) {
            calm.first->second = calmEnding(scenario, cut.events);
        }
        return calm.first->second;
    }

    std::map<std::size_t, Ending> calm_;                      // by the number of events
    std::map<std::pair<std::size_t, Tree>, Ending> endings_;  // by the Mac's number and the disk
};

/// Whether events of the scenario change files.
bool writesFiles(const std::string& scenarioPath) {
    const std::string text = readFile(scenarioPath).value_or("");
    return text.find("\"write\"") != std::string::npos ||
           text.find("\"remove\"") != std::string::npos;
}

TEST_P(PowerCutTest, HealsWithTheNextRun) {
    CutCollector collector;
    follow(scenario, collector);
    EXPECT_EQ(collector.hasForeignChanges(), writesFiles(GetParam()))
        << "the disk model and the disk differ";
    EXPECT_EQ(collector.unknownCalls(), std::set<std::string>{});
    const std::vector<Cut>& cuts = collector.cuts();
    ASSERT_FALSE(cuts.empty());
    const std::size_t step = stride(cuts.size(), 12);
    std::size_t tried = 0;
    for (std::size_t n = 0; n < cuts.size() && !HasFailure(); n += step, ++tried) {
        check(cuts[n]);
    }
    addStatistics(
        {{"power-cut states", tried},
         {"power-cut moments with a sample of their states", collector.sampledMoments()}});
}

std::vector<std::string> virtualScenarios() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() == ".json" &&
            simulator::loadScenario(entry.path().string()).clock ==
                simulator::clock::Kind::virtualTime) {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, PowerCutTest, testing::ValuesIn(virtualScenarios()),
                         [](const auto& scenario) {
                             std::string name =
                                 std::filesystem::path(scenario.param).stem().string();
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace tolvaran::tests
