// Registers the devices' own functions for look-up at run time.
#pragma once

#include <type_traits>

#include "platform/private_interfaces.hpp"
#include "simulator/host/dynamic_library.hpp"

namespace simulator::devices {

/// Makes `function` the one that a look-up in `library` finds.
template <typename Function>
void offer(const char* library, const tolvaran::RunTimeFunction<Function>& wanted,
           std::type_identity_t<Function>* function) {
    registerSymbol(library, wanted.name, reinterpret_cast<void*>(function));
}

}  // namespace simulator::devices
