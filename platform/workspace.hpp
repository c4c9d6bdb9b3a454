// The workspace and the shared application, which have no C interface. Implemented for the Mac in
// workspace_mac.mm and for other hosts by the simulator. Main thread only.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tolvaran::workspace {

/// One entry of the workspace's list of running applications.
struct RunningApplication {
    std::optional<std::string> bundleIdentifier;
    pid_t processIdentifier = -1;
    bool terminated = false;  // it has ended but may still be listed

    bool operator==(const RunningApplication&) const = default;
};

/// The running applications, in the workspace's listing order.
std::vector<RunningApplication> runningApplications();

/// A registered notification observer. Destroying it ends the observation.
class Observation {
  public:
    explicit Observation(std::shared_ptr<void> token) : token_(std::move(token)) {}
    Observation(Observation&&) = default;
    Observation& operator=(Observation&&) = default;

  private:
    std::shared_ptr<void> token_;
};

/// Takes the application that a notification is about, or none if it does not name one.
using ApplicationHandler = std::function<void(const std::optional<RunningApplication>&)>;

// Observers of the workspace's notifications from any sender. Handlers run on the main thread, on
// the main operation queue, until the observation is destroyed.

/// Calls `handler` whenever an application has launched.
Observation observeLaunches(ApplicationHandler handler);
/// Calls `handler` whenever an application has terminated; it may still be listed.
Observation observeTerminations(ApplicationHandler handler);
/// Calls `handler` whenever the Mac has woken.
Observation observeWakes(std::function<void()> handler);

/// Creates the shared application and sets its activation policy to prohibited: no Dock icon, no
/// menu bar, no windows.
void prohibitActivation();

/// Calls `work`, then releases the Objective-C objects that system functions autoreleased
/// meanwhile. The event loop drains its own pool only after a user event, and this process never
/// gets one: without this, every run would leak a little.
void withAutoreleasePool(const std::function<void()>& work);

/// The shared application's event loop. It does not return in normal operation.
void runEventLoop();

}  // namespace tolvaran::workspace
