// The Mac, and what the main application does on it, in the trials that interleave the helper and a
// main application.
#pragma once

#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// A Mac with two displays, as its user likes it.
const nlohmann::json& usersMac();

/// How the main application changes one thing and puts it back, both in ways that are safe while a
/// helper is restoring.
struct Part {
    const char* name;
    void (*take)();
    void (*giveBack)();
};
std::span<const Part> parts();

/// The settings that a user sees on the current Mac.
nlohmann::json settings();

/// The names of the records that have something left to put back; sets of marks by their
/// signatures.
std::vector<std::string> pendingRecords();

/// How many records of each set of displays stay when everything has been put back: arrangements,
/// and marks of sets that are not connected. Renamed sets count under their old name.
std::map<std::string, std::size_t> keptRecords();

/// The names of files that were left behind while a record was replaced or removed.
std::vector<std::string> unfinishedRecords();

}  // namespace tolvaran::tests
