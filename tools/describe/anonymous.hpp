// Makes reports that reveal nothing about their user. Used by tolvaran_describe --anonymous.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::describe {

struct Anonymous {
    nlohmann::json scenario;
    std::vector<std::string> notes;  // problems; usually none
    /// Whether it still contains text of the original; then it must not be used.
    bool isLeaky = false;
};

/// The report with other serial numbers, UUIDs, display names and aliases, consistently in the Mac,
/// the files and the log, and without the user's name in paths. It plays like the original. In
/// files that are not JSON every letter and digit of a text is replaced one for one, so that they
/// are wrong at the same place.
/// @param home the user's home directory
Anonymous anonymized(const nlohmann::json& report, const std::string& home);

}  // namespace tolvaran::describe
