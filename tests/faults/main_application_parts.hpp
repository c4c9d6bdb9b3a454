// The two processes of the trials in which the helper and a main application share the time: the
// Mac, and what the main application does on it.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// A Mac with two displays, as its user likes it.
const nlohmann::json& usersMac();

/// What the main application does to one thing, and how it puts it back; each as one that may start
/// beside a helper has to.
struct Part {
    const char* name;
    void (*take)();
    void (*giveBack)();
};
std::span<const Part> parts();

/// What a user sees of the Mac as it is.
nlohmann::json settings();

/// The names of records of something that has yet to be put back. Marks remain, without entries.
std::vector<std::string> pendingRecords();

/// The names of files that were left behind while a record was replaced or removed.
std::vector<std::string> unfinishedRecords();

}  // namespace tolvaran::tests
