// What the fault tests let go wrong: the scenarios, and what the main application does through the
// library, which no scenario shows.
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
    /// Functions that fail in some calls by the scenario itself, whatever else fails.
    std::vector<std::string> passingFaults = {};
    std::function<void()> program;  // what the process does; empty: it is the helper
    /// Whether it may also end as it does without the scenario's own faults. Those pass, and a
    /// further failure moves them to another call; where the user changes what they concern, it
    /// shows in the end which call met them.
    bool mayEndAsWithoutFaults = false;
};

/// Every scenario with a virtual clock, then the main application's stories.
const std::vector<Story>& stories();

/// The main application's part: each operation by which it writes records and changes the Mac, on a
/// Mac where the helper then puts everything back.
std::vector<Story> mainApplicationStories();

/// The names of the stories, for tests with one instance a story.
std::vector<std::string> storyNames();

/// The story of this name.
const Story& story(const std::string& name);

}  // namespace tolvaran::tests
