// Regular expressions (ECMAScript), whose library takes long to compile, and whose patterns take
// longer to compile than to match: each pattern is compiled only once. Call these functions from
// one thread only. All throw std::regex_error if the pattern is malformed.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

/// Whether the whole text matches the pattern.
bool matches(const std::string& text, const std::string& pattern);

/// The text with everything that matches the pattern replaced by `format`, in which $1 is the first
/// group.
std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& format);

/// What the pattern's first group matches, in the order of the text.
std::vector<std::string> firstGroups(const std::string& text, const std::string& pattern);

}  // namespace tolvaran::tests
