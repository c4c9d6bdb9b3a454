// A list of lines (a log, calls, file names), as tests write and compare it.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

using Lines = std::vector<std::string>;

/// Both lists, one after the other.
inline Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

}  // namespace tolvaran::tests
