// How a simulated function meets the faults that a test has set, and how it enters the list of
// calls. Every function of the simulator begins with admit(); those that belong in the result's
// list of calls end with record().
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace simulator {

/// A fault's result is not of the type that its function returns.
class FaultError : public std::invalid_argument {
  public:
    using std::invalid_argument::invalid_argument;
};

/// What a fault makes of one call. Without a fault: performs, and no forced result.
struct Verdict {
    bool performs = true;                        // whether the call has its effect
    std::optional<nlohmann::json> forcedResult;  // what it returns instead of its own result
    std::int64_t delayReads = 0;  // how many read-backs the new value stays hidden from

    /// The forced result as the function's own type, or `own` where nothing is forced.
    /// @throws FaultError when the forced result is of another type
    template <typename Result>
    Result resultOr(Result own) const {
        try {
            return forcedResult ? forcedResult->get<Result>() : own;
        } catch (const nlohmann::json::exception& error) {
            throw FaultError(error.what());
        }
    }
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
