// The workspace and the shared application of the simulated Mac, behind platform/workspace.hpp.

#include "platform/workspace.hpp"

#include <algorithm>
#include <list>
#include <vector>

#include "simulator/faults/faults.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

using tolvaran::workspace::ApplicationHandler;
using tolvaran::workspace::Observation;
using tolvaran::workspace::RunningApplication;

// Observers, in the order of registration. Each list holds them weakly: an observer is its token,
// and a notification queued for one that is gone is dropped.
using Observers = std::list<std::weak_ptr<ApplicationHandler>>;

struct WorkspaceState {
    Observers launches;
    Observers terminations;
    Observers wakes;
    std::optional<std::vector<Application>> heldApplications;
    bool activationIsProhibited = false;
};

WorkspaceState& workspaceState() {
    static WorkspaceState& instance = *new WorkspaceState;
    return instance;
}

const OnReset forgetObservers([] { workspaceState() = {}; });

std::optional<RunningApplication> running(const std::optional<Application>& application) {
    if (!application) {
        return std::nullopt;
    }
    return RunningApplication{application->bundle, application->pid, application->terminated};
}

void post(Observers& observers, const std::optional<Application>& application) {
    observers.remove_if([](const auto& observer) { return observer.expired(); });
    for (const auto& observer : observers) {
        onMainQueue([observer, about = running(application)] {
            if (const auto handler = observer.lock()) {
                (*handler)(about);
            }
        });
    }
}

Observation observe(std::string_view function, Observers& observers, ApplicationHandler handler) {
    auto token = std::make_shared<ApplicationHandler>(std::move(handler));
    if (beginCall(function).performs) {
        observers.push_back(token);
    }
    return Observation(std::move(token));
}

}  // namespace

ApplicationsHold::ApplicationsHold() : isOutermost_(!workspaceState().heldApplications) {
    if (isOutermost_) {
        workspaceState().heldApplications = mac().applications;
    }
}

ApplicationsHold::~ApplicationsHold() {
    if (isOutermost_) {
        workspaceState().heldApplications.reset();
    }
}

void postLaunch(const std::optional<Application>& application) {
    post(workspaceState().launches, application);
}

void postTermination(const std::optional<Application>& application) {
    post(workspaceState().terminations, application);
}

void postWake() {
    post(workspaceState().wakes, std::nullopt);
}

bool activationIsProhibited() {
    return workspaceState().activationIsProhibited;
}

}  // namespace simulator

namespace tolvaran::workspace {

// A Mac changes this list only between two turns of the main run loop: a process that waits within
// a turn does not see an application come or go until all that the main queue was given before that
// turn has been performed.
std::vector<RunningApplication> runningApplications() {
    const auto& held = simulator::workspaceState().heldApplications;
    const auto& applications = held ? *held : simulator::mac().applications;
    std::vector<RunningApplication> list;
    if (!simulator::beginCall("runningApplications").performs) {
        return list;
    }
    std::transform(
        applications.begin(), applications.end(), std::back_inserter(list),
        [](const simulator::Application& application) { return *simulator::running(application); });
    return list;
}

Observation observeLaunches(ApplicationHandler handler) {
    return simulator::observe("observeLaunches", simulator::workspaceState().launches,
                              std::move(handler));
}

Observation observeTerminations(ApplicationHandler handler) {
    return simulator::observe("observeTerminations", simulator::workspaceState().terminations,
                              std::move(handler));
}

Observation observeWakes(std::function<void()> handler) {
    return simulator::observe("observeWakes", simulator::workspaceState().wakes,
                              [handler = std::move(handler)](const auto&) { handler(); });
}

void prohibitActivation() {
    // Not a recorded call: it concerns the process itself, not the Mac.
    simulator::workspaceState().activationIsProhibited =
        simulator::beginCall("setActivationPolicy").performs;
}

void withAutoreleasePool(const std::function<void()>& work) {
    // A piece of work even if no event loop performs it, like the start of a process.
    const simulator::ApplicationsHold hold;
    work();
}

void runEventLoop() {
    simulator::runUntil(simulator::endOfRun());
}

}  // namespace tolvaran::workspace
