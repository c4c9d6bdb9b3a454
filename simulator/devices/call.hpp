// How the functions of the devices are written: each is one performCall() or one recordedCall()
// around what the function does unless a fault prevents it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <nlohmann/json.hpp>
#include <string_view>
#include <type_traits>
#include <utility>

#include "simulator/faults/faults.hpp"
#include "simulator/machine/call_record.hpp"

namespace simulator::devices {

/// Performs one call of `function`, whose effect and own result are `body()`.
/// @return what the call returns: the forced result if a fault sets one, else the body's; a
///         value-initialised one (success, false, null) if a fault keeps the body from running
template <typename Body>
auto performCall(std::string_view function, Body body) -> decltype(body()) {
    using Result = decltype(body());
    const CallFault fault = beginCall(function);
    if constexpr (std::is_void_v<Result>) {
        if (fault.performs) {
            body();
        }
    } else {
        return fault.resultOr(fault.performs ? body() : Result{});
    }
}

/// A Boolean as it is recorded: true for 1, false for 0, and any other number as it stands.
inline nlohmann::json recorded(Boolean value) {
    return value > 1 ? nlohmann::json(value) : nlohmann::json(value == 1);
}

/// Performs and records one call of a function that belongs in the list of calls. `body` takes the
/// fault and returns a value that JSON can hold; `args` is a JSON array.
template <typename Body>
auto recordedCall(std::string_view function, nlohmann::json args, Body body)
    -> decltype(body(std::declval<const CallFault&>())) {
    using Result = decltype(body(std::declval<const CallFault&>()));
    const CallFault fault = beginCall(function);
    if constexpr (std::is_void_v<Result>) {
        if (fault.performs) {
            body(fault);
        }
        recordCall(function, std::move(args), nullptr);
    } else {
        const Result result = fault.resultOr(fault.performs ? body(fault) : Result{});
        recordCall(function, std::move(args), result);
        return result;
    }
}

}  // namespace simulator::devices
