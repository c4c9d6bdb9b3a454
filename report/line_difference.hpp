// Which lines of a text were removed, added or kept. Used for the state files of a report.
#pragma once

#include <string>
#include <vector>

namespace simulator::report {

enum class LineFate { kept, removed, added };

struct DifferenceLine {
    LineFate fate = LineFate::kept;
    std::string text;

    bool operator==(const DifferenceLine&) const = default;
};

/// The shortest way from one text to the other. Removed lines come before the lines that replace
/// them. Texts that are both very long and very different are shown as all removed and all added,
/// except what they have in common at the beginning and the end.
std::vector<DifferenceLine> lineDifference(const std::vector<std::string>& before,
                                           const std::vector<std::string>& after);

}  // namespace simulator::report
