// Timeline events: what happens to the Mac from outside. An event is read first, which finds every
// error of form, and performed when its time comes.
#pragma once

#include <functional>

#include "simulator/json_reader.hpp"

namespace simulator {

/// What an event does to the machine and to the files when it is performed, which throws
/// std::invalid_argument naming the key when the machine does not let it happen (no such process,
/// display or name).
using Event = std::function<void()>;

/// Reads {EVENT: ARGUMENT}; a key `at` is passed over.
/// @throws std::invalid_argument naming the key that is wrong
Event readEvent(const JsonReader& event);

/// Whether a launch starts a child process (real clock) or takes a pid (virtual clock).
enum class Launching { simulated, childProcesses };
Event readEvent(const JsonReader& event, Launching launching);

/// Forgets the names that launches have given.
void forgetProcessNames();

}  // namespace simulator
