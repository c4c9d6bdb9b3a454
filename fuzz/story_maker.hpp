// Makes random scenarios that could be a user's: a Mac that Tolvaran has left rearranged, its
// records, good ones and spoiled ones, what then happens, and which calls fail.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "fuzz/choices.hpp"

namespace tolvaran::fuzz {

/// A scenario, in the form of its file.
nlohmann::json makeStory(Choices& choices);

/// The names of the functions in its faults.
std::vector<std::string> faultyFunctions(const nlohmann::json& story);

}  // namespace tolvaran::fuzz
