// Which lines of a text are gone, which are new, which stayed. Used for the state files of a
// report.
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

/// The shortest way from one text to the other. Of lines that change place, removed ones come
/// before added ones. Texts that are both very long and very different are told as all removed, all
/// added, but for what they have in common at their beginning and end.
std::vector<DifferenceLine> lineDifference(const std::vector<std::string>& before,
                                           const std::vector<std::string>& after);

}  // namespace simulator::report
