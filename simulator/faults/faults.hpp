// The recorder's side towards the rest of the simulator: reading faults, and what reset clears.
#pragma once

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// Adds the fault that stands at this place of a document.
/// @throws std::invalid_argument naming the key that is wrong
void addFault(const JsonReader& fault);
/// Throws the same, but adds nothing.
void checkFault(const JsonReader& fault);

/// Whether any fault, hook or decision is set; without one, no call need be looked at closely.
bool callsAreWatched();

/// Ends what onCall() and decideCalls() began.
void clearHooks();

void forgetCalls();

}  // namespace simulator
