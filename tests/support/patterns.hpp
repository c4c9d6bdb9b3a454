// Regular-expression matching, for tests that match a few patterns against very many texts.
#pragma once

#include <string>

namespace tolvaran::tests {

/// Whether the whole text matches the pattern (ECMAScript). Compiles each pattern only once, since
/// that takes far longer than matching. Call it from one thread only.
/// @throws std::regex_error if the pattern is malformed
bool matches(const std::string& text, const std::string& pattern);

}  // namespace tolvaran::tests
