// Regular expressions, of which the tests match a few against very many texts.
#pragma once

#include <string>

namespace tolvaran::tests {

/// Whether all of the text matches the pattern (ECMAScript). Compiles each pattern only once, which
/// takes far longer than matching; call it from one thread.
/// @throws std::regex_error if the pattern is malformed
bool matches(const std::string& text, const std::string& pattern);

}  // namespace tolvaran::tests
