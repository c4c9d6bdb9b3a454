// How parts of the simulator that keep state register what reset() must do.
#pragma once

#include <functional>

namespace simulator {

/// Resets a part's state. Defined once at namespace scope, beside the state.
class OnReset {
  public:
    /// Performs `work` now and at every reset(); the order of the parts is unspecified.
    explicit OnReset(std::function<void()> work);
};

}  // namespace simulator
