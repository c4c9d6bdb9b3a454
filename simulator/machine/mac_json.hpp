// The machine's JSON form, the `mac` object of a scenario: reading it strictly and writing it with
// every key.
#pragma once

#include <nlohmann/json.hpp>

#include "simulator/machine/json_reader.hpp"
#include "simulator/machine/machine.hpp"

namespace simulator {

/// The machine that a `mac` object describes; missing keys have their defaults.
/// @throws std::invalid_argument naming the key that is wrong
Machine readMachine(const JsonReader& mac);

/// `machine` with every key of `mac` except `displays` set: objects key by key, with null removing
/// a preference; lists and single values as wholes.
/// @throws std::invalid_argument naming the key that is wrong
Machine mergedMachine(Machine machine, const JsonReader& mac);

/// One element of `displays`.
/// @throws std::invalid_argument naming the key that is wrong
Display readDisplay(const JsonReader& display);

/// A `launch` event's argument and an element of `applications` share these keys.
std::optional<std::string> readBundle(const JsonReader& application);
std::int32_t readPID(const JsonReader& pid);

/// Fails unless the value represents a property list: it contains no null, and data and dates are
/// written correctly.
/// @throws std::invalid_argument naming the key that is wrong
void requirePropertyList(const JsonReader& value);

nlohmann::json writeMachine(const Machine& machine);

}  // namespace simulator
