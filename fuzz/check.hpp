// How a fuzz target reports a failure.
#pragma once

#include <string>

namespace tolvaran::fuzz {

/// Writes "fuzz: " and what is wrong to standard error and aborts, so that the fuzzer keeps the
/// input.
[[noreturn]] void fail(const std::string& what);

/// fail() unless the condition holds.
void require(bool holds, const std::string& what);

}  // namespace tolvaran::fuzz
