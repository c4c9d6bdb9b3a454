// How the parts of the simulator that keep something register what reset() must forget.
#pragma once

#include <functional>

namespace simulator {

/// A part's state after a reset. Defined once at namespace scope, beside the state.
class OnReset {
  public:
    /// Performs `work` now and at every reset(), in no particular order among the parts.
    explicit OnReset(std::function<void()> work);
};

}  // namespace simulator
