// What is the same and what differs between the Mac before and after, in words: tables of facts,
// and the state files. Used by the page, the gallery, the terminal's summary and tolvaran_describe.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "report/line_difference.hpp"

namespace simulator::report {

/// One row of a table. A side is empty if there is nothing to say.
struct Fact {
    std::string name;
    std::string before;
    std::string after;

    bool isChanged() const { return before != after; }
    bool operator==(const Fact&) const = default;
};

struct FactGroup {
    std::string title;
    std::vector<Fact> facts;
};

/// A group for each display of either side, in the order of the first and then the second. Whether
/// it is connected, and whether it is the main display, are facts only if they changed.
std::vector<FactGroup> displayFacts(const nlohmann::json& before, const nlohmann::json& after);

/// Hot corners, menu bar, Dock and cursor, then every other part of the Mac that has a state, under
/// its own name.
std::vector<FactGroup> deskFacts(const nlohmann::json& before, const nlohmann::json& after);

enum class FileFate { unchanged, changed, removed, added };
/// "unchanged", "changed", …
const char* nameOf(FileFate fate);

struct FileChange {
    std::string path;
    FileFate fate = FileFate::unchanged;
    std::vector<DifferenceLine> lines;
};

/// Every file of either side by its path. JSON is compared with one value on each line.
std::vector<FileChange> fileChanges(const nlohmann::json& before, const nlohmann::json& after);

/// What changed, in a few words each: "2 displays moved", "Menu bar", … Empty if nothing did.
std::vector<std::string> headlines(const nlohmann::json& result);

}  // namespace simulator::report
