// Describes the Mac that the program runs on as the `mac` object of a scenario, so that what the
// helper did on a user's Mac can be replayed elsewhere. Only reads, and only what the helper itself
// reads. Used by the program tolvaran_describe.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace tolvaran::describe {

struct Description {
    /// The keys are those of docs/scenarios.md. Preferences, registry and applications contain only
    /// what the helper reads or looks for; a key that could not be read is left out.
    nlohmann::json mac;
    /// What was left out and why, one line each, each beginning with the key's path.
    std::vector<std::string> notes;
};

/// Main thread only, since it asks the workspace.
Description describeMac();

/// Writes the description to `out` and its notes to `errors`.
/// @return the exit status: 0, or 1 if it could not be written
int writeDescription(std::ostream& out, std::ostream& errors);

}  // namespace tolvaran::describe
