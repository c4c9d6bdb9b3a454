// Offering the devices' own functions for look-up at run time.
#pragma once

#include "simulator/host/dynamic_library.hpp"

namespace simulator::devices {

/// Makes `function` findable as `name` in `library`.
template <typename Result, typename... Arguments>
void offer(const char* library, const char* name, Result (*function)(Arguments...)) {
    registerSymbol(library, name, reinterpret_cast<void*>(function));
}

}  // namespace simulator::devices
