// What happens in the simulated workspace, towards the observers that platform/workspace.hpp
// registers. Every observer that is registered now is called on the main queue, unless it has been
// removed by then.
#pragma once

#include <optional>

#include "simulator/machine/machine.hpp"

namespace simulator {

/// Posts did-launch, did-terminate or did-wake. Without an application the notification names none,
/// which a well-behaved workspace does not do but an observer has to bear.
void postLaunch(const std::optional<Application>& application);
void postTermination(const std::optional<Application>& application);
void postWake();

/// Holds the list of running applications that the workspace shows as it is now, for as long as it
/// exists: what a piece of the process's own work sees. One within another changes nothing.
class ApplicationsHold {
  public:
    ApplicationsHold();
    ~ApplicationsHold();
    ApplicationsHold(const ApplicationsHold&) = delete;
    ApplicationsHold& operator=(const ApplicationsHold&) = delete;

  private:
    bool isOutermost_;
};

}  // namespace simulator
