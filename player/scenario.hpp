// A scenario: a Mac, the files on its disk, what happens to it, and what is expected of the helper.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/loop/clock.hpp"
#include "simulator/loop/timeline.hpp"

namespace simulator {

/// The file is not a scenario; what() is one line that names the key and says what is wrong.
class ScenarioError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct PlannedEvent {
    clock::Time at = 0;
    Event perform;
    nlohmann::json document;  // as in the scenario, without "at"
};

struct Scenario {
    std::string name;
    clock::Kind clock = clock::Kind::virtualTime;
    nlohmann::json mac = nlohmann::json::object();
    std::vector<std::pair<std::string, nlohmann::json>> files;  // relative path, content
    std::optional<std::string> filesFrom;                       // absolute
    std::vector<PlannedEvent> timeline;                         // in the order given
    clock::Time until = clock::second;
    nlohmann::json faults = nlohmann::json::array();
    nlohmann::json expect = nlohmann::json::object();
    nlohmann::json about = nlohmann::json::object();  // facts for the report only
    std::optional<std::vector<std::string>> log;      // the log of the user's helper, line by line
};

/// Reads a scenario.
/// @param directory the directory to which `filesFrom` is relative
/// @param name the scenario's name if it gives none itself
/// @throws ScenarioError
Scenario readScenario(const nlohmann::json& document, const std::string& directory,
                      const std::string& name);

/// Reads the JSON document in a file, with the files of `filesFrom` under `files`.
/// @throws ScenarioError, also if the file cannot be read or is not JSON
nlohmann::json loadDocument(const std::string& path);

/// Reads the scenario in a file.
/// @throws ScenarioError, also if the file cannot be read or is not JSON
Scenario loadScenario(const std::string& path);

}  // namespace simulator
