// Timeline events: what happens to the Mac from outside. An event is read first, which finds
// malformed ones, and performed when it is due.
#pragma once

#include <functional>
#include <stdexcept>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// A well-formed event that is impossible on the machine: no such process, display, name or file.
/// what() names the key.
class EventError : public std::invalid_argument {
  public:
    using std::invalid_argument::invalid_argument;
};

/// What an event does to the machine and to the files when it is performed. Throws EventError.
using Event = std::function<void()>;

/// Reads {EVENT: ARGUMENT}; a key `at` is ignored.
/// @throws std::invalid_argument naming the key that is wrong
Event readEvent(const JsonReader& event);

/// Whether a launch starts a child process (real clock) or takes a pid (virtual clock).
enum class Launching { simulated, childProcesses };
Event readEvent(const JsonReader& event, Launching launching);

}  // namespace simulator
