// How a simulated function meets the faults that a test has set, and how it enters the list of
// calls. Every function of the simulator begins with admit(); those that belong in the result's
// list of calls end with record().
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// What a fault makes of one call. Without a fault: performs, and no forced result.
struct Verdict {
    bool performs = true;  // whether the call has its effect
    // What it returns instead of its own result, of the function's type (fault_results.hpp).
    std::optional<nlohmann::json> forcedResult;
    std::int64_t delayReads = 0;  // how many read-backs the new value stays hidden from

    /// The forced result as the function's own type, or `own` where nothing is forced.
    template <typename Result>
    Result resultOr(Result own) const {
        return forcedResult ? forcedResult->get<Result>() : own;
    }
    /// The same for a function that returns a text or null.
    std::optional<std::string> resultOr(std::optional<std::string> own) const {
        if (!forcedResult) {
            return own;
        }
        return forcedResult->is_null() ? std::nullopt
                                       : std::optional(forcedResult->get<std::string>());
    }
    /// Of a function of which null is the only result that can be forced: whether it returns that.
    bool isNull() const { return !performs || forcedResult; }
};

/// Counts this call of `function` (its plain C name) and looks up the fault that applies to it.
/// @param subject the path or name that the call is about, for callSubject(); empty for most calls
Verdict admit(std::string_view function, std::string_view subject = {});

/// Appends a call to the list that calls() returns, stamped with the current time.
/// @param args   the arguments as JSON; a removed value is null; handles are left out
/// @param result what the function returned, null for none
void record(std::string_view function, nlohmann::json args, nlohmann::json result);

/// How many calls are in that list.
std::size_t recordedCalls();

}  // namespace simulator
