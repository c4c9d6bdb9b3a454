// How the parts of the simulator that keep state of their own take part in simulator::reset().
#pragma once

#include <functional>

namespace simulator {

/// Calls `forget` at every later reset, before the new machine is set. To be called while the
/// program starts, from the initialiser of a variable.
/// @return true, for that variable
bool onReset(std::function<void()> forget);

}  // namespace simulator
