// Runs a process in which something fails, then a helper in which nothing does: the two halves of
// every fault test.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/story.hpp"

namespace tolvaran::tests {

/// One call to the outside.
struct Call {
    std::string function;
    /// What it concerns: a file by its path below the application-support directory, or by "Logs/"
    /// and its path below the log directory; a library or symbol by its name; else empty. An
    /// unfinished file has the name that it is to get, after "unfinished " when it is removed;
    /// "aside " precedes a record that is moved aside.
    std::string subject;
    std::string error =
        "";  // of a call that was made to fail: the name of its error, if it has one
};

/// Decides the fate of one outside call: null, or a fault ({"result", "effect"}).
/// @param index    the call's number in the run, from 0
/// @param function its name
using Decide = std::function<nlohmann::json(std::size_t index, const std::string& function)>;

/// The state of a Mac and its files after a run.
struct Ending {
    nlohmann::json mac;
    nlohmann::json files;  // without the heartbeat

    bool operator==(const Ending&) const = default;
};

/// Where a new helper ends that starts on the files in "ApplicationSupport" below `root`, without
/// faults, on a Mac where Tolvaran is not running.
Ending healedEnding(const nlohmann::json& mac, const std::string& root);

/// How many descriptors this process has open.
std::size_t openDescriptors();

/// The files below `root` that unfinished writes have left, each preceded by `when`.
std::vector<std::string> unfinishedFiles(const std::string& root, const std::string& when);

/// The result of one story.
struct FaultRun {
    bool isHelper = true;          // whether the first run is the helper's
    std::vector<Call> calls;       // of the calm run: every outside call of the first, in order
    std::vector<Call> failed;      // those that were made to fail
    std::vector<std::string> log;  // of the first run, "level: message"
    nlohmann::json posted;         // the notifications of the first run
    nlohmann::json filesBefore;  // what lay on disk when the process began, or what the story wrote
                                 // in its place while it ran
    Ending after;                // the first run
    // The run after it: a new helper, no Tolvaran, no faults. Null if the first was stopped.
    std::shared_ptr<const Ending> healed;
    std::optional<Ending> alsoRight;    // of the calm run: another right ending of the next
    std::vector<std::string> leftOver;  // what either run leaves open or undeleted
};

/// Plays one story repeatedly.
class Trial {
  public:
    explicit Trial(const Story& story);

    /// The run without faults.
    const FaultRun& calm() const { return calm_; }

    /// Plays the story, asking `decide` about every outside call, and then the next run. An endless
    /// run is stopped, and leftOver says so.
    FaultRun run(const Decide& decide);

  private:
    struct Healing {
        std::shared_ptr<const Ending> ending;
        std::vector<std::string> leftOver;
    };

    void play(const Decide& decide, const std::string& root, FaultRun& run) const;
    std::optional<simulator::Scenario> notingScenario(FaultRun& run, const std::string& root) const;
    const Healing& heal(const Ending& after, const std::string& root);

    const Story& story_;
    bool isCalm_ = true;   // the run without faults is being played
    std::size_t longest_;  // calls after which a run counts as endless
    std::size_t descriptors_ = openDescriptors();
    // By the first run's ending, which is the same for most faults.
    std::map<std::string, Healing> healings_;
    FaultRun calm_;
};

/// The JSON pointers at which the two differ, down to the innermost value.
std::vector<std::string> differences(const Ending& expected, const Ending& actual);

}  // namespace tolvaran::tests
