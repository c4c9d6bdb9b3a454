// A fuzz target is one function that takes any bytes. libFuzzer calls it (make fuzz), or driver.cpp
// does (make test), which does not need Clang.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Tries one input. Ends the process with fuzz::fail() if anything goes wrong.
/// @return 0, as libFuzzer demands
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

}  // extern "C"
