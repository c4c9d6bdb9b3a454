// Reports that tell nothing of their user. Behind tolvaran_describe --anonymous.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::describe {

struct Anonymous {
    nlohmann::json scenario;
    std::vector<std::string> notes;  // what is not as it should be: nothing, as a rule
    /// Whether a text of the original is still found in it: then it must not be used.
    bool isLeaky = false;
};

/// The report with other serial numbers, UUIDs, display names and aliases, the same everywhere: in
/// the Mac, the files and the log; and without the user's name in paths. It is played as the
/// original is. In files that are not JSON every letter and digit of a text is replaced, each by
/// one, so that they are wrong at the same place.
/// @param home the user's home directory
Anonymous anonymized(const nlohmann::json& report, const std::string& home);

}  // namespace tolvaran::describe
