// How a simulated function meets the faults that a test or a scenario has set. Every function in
// outside_calls.def begins with beginCall().
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// What a fault does to one call. Without a fault the call performs and returns its own result.
struct CallFault {
    bool performs = true;  // whether the call has its effect
    // What it returns instead of its own result, of the function's type (outside_calls.hpp).
    std::optional<nlohmann::json> forcedResult;
    std::int64_t delayReads = 0;  // how many reads do not show the new value yet

    /// The forced result as the function's own type, or `own` if none is forced.
    template <typename Result>
    Result resultOr(Result own) const {
        return forcedResult ? forcedResult->get<Result>() : own;
    }
    /// The forced text or null, or `own` if none is forced.
    std::optional<std::string> resultOr(std::optional<std::string> own) const {
        if (!forcedResult) {
            return own;
        }
        return forcedResult->is_null() ? std::nullopt
                                       : std::optional(forcedResult->get<std::string>());
    }
    /// Whether a function that can only be forced to return null does so.
    bool isNull() const { return !performs || forcedResult; }
};

/// Runs the work that onCall() has set for this function, counts the call and looks up its fault.
/// @param function the plain C name
/// @param subject  the path or name that the call concerns, for callSubject(); empty for most calls
CallFault beginCall(std::string_view function, std::string_view subject = {});

/// Adds the fault described at this place of a document.
/// @throws std::invalid_argument naming the key that is wrong
void addFaultAt(const JsonReader& place);
/// Checks a fault: throws as addFaultAt() does, but adds nothing.
void checkFault(const JsonReader& place);

/// Whether any fault, hook or decision is set; if not, calls need no closer look.
bool callsAreWatched();

}  // namespace simulator
