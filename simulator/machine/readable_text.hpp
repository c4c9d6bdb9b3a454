// Turns arbitrary bytes into text that JSON can hold.
#pragma once

#include <string>

namespace simulator {

/// `bytes` with everything that is not UTF-8 replaced by U+FFFD.
std::string readableText(const std::string& bytes);

}  // namespace simulator
