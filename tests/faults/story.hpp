// What the fault tests try: the scenarios, and what the main application does through the library,
// which no scenario shows.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "player/scenario.hpp"

namespace tolvaran::tests {

/// One process on one Mac.
struct Story {
    std::string name;  // letters, digits and "_"
    simulator::Scenario scenario;
    /// Functions that the scenario itself makes fail in some calls.
    std::vector<std::string> passingFaults = {};
    std::function<void()> program;  // what the process does; if empty, it is the helper
    /// Whether it may also end as without the scenario's own faults. Those are temporary, and a
    /// further failure shifts them to another call; if the user changes what they concern, the
    /// ending depends on which call they hit.
    bool mayEndAsWithoutFaults = false;
};

/// The scenario in a file, without what it expects: the trials have expectations of their own.
simulator::Scenario scenarioToTry(const std::string& path);

/// Every scenario with a virtual clock, then the main application's stories.
const std::vector<Story>& stories();

/// The main application's part: each operation by which it writes records and changes the Mac, on a
/// Mac where the helper then puts everything back.
std::vector<Story> mainApplicationStories();

/// The names of the stories, for tests with one instance per story.
std::vector<std::string> storyNames();

/// The story of this name.
const Story& story(const std::string& name);

}  // namespace tolvaran::tests
