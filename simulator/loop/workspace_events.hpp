// Posts what happens in the simulated workspace to the observers that platform/workspace.hpp
// registers. Every currently registered observer is called on the main queue, unless it has been
// removed by then.
#pragma once

#include <optional>

#include "simulator/machine/machine.hpp"

namespace simulator {

/// Posts did-launch, did-terminate or did-wake. Without an application the notification names none,
/// which should not happen on a Mac but which an observer must survive.
void postLaunch(const std::optional<Application>& application);
void postTermination(const std::optional<Application>& application);
void postWake();

/// While it exists, the workspace's list of running applications stays as it is, which is what the
/// process's own work sees during a turn of the main queue. One inside another changes nothing.
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
