// Makes numbers from C++ values, for the parts of the simulator that return them.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

namespace simulator::cf {

/// A new 64-bit integer or double, owned by the caller.
CFNumberRef createNumber(std::int64_t value);
CFNumberRef createNumber(double value);

}  // namespace simulator::cf
