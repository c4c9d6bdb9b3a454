// How a fuzz target says that something is wrong.
#pragma once

#include <string>

namespace tolvaran::fuzz {

/// Writes "fuzz: " and what is wrong to standard error and aborts, so that whoever runs the target
/// keeps the input.
[[noreturn]] void fail(const std::string& what);

/// fail() unless the condition holds.
void require(bool holds, const std::string& what);

}  // namespace tolvaran::fuzz
