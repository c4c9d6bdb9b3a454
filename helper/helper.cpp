#include "helper/helper.hpp"

#include <unistd.h>

#include <string>

#include "helper/helper_log.hpp"
#include "helper/main_application.hpp"
#include "helper/restore_sequence.hpp"
#include "restore/paths/helper_heartbeat.hpp"

namespace tolvaran {
namespace {

void touchHeartbeat() {
    HelperHeartbeat::touch(HelperHeartbeat::defaultPath(), HelperHeartbeat::currentDate());
}

void safetyTick() {
    touchHeartbeat();
    // Harmless while the main application runs: every step checks for it and skips.
    runQueuedRestoreSequence("safety-tick", std::nullopt);
}

void registerReconfigurationCallback() {
    const CGError error =
        CGDisplayRegisterReconfigurationCallback(reconfigurationCallback, nullptr);
    if (error != kCGErrorSuccess) {
        helperLog("error",
                  "CGDisplayRegisterReconfigurationCallback failed: " + std::to_string(error));
    }
}

}  // namespace

void reconfigurationCallback(CGDirectDisplayID /*display*/, CGDisplayChangeSummaryFlags flags,
                             void* /*userInfo*/) {
    if ((flags & kCGDisplayBeginConfigurationFlag) != 0) {
        return;
    }
    // Each callback gets its own run: every run reads the hardware afresh, and merging runs could
    // miss the state that the last one would have seen.
    main_queue::async([] { runQueuedRestoreSequence("display-reconfig", std::nullopt); });
}

std::shared_ptr<Helper> Helper::make() {
    std::shared_ptr<Helper> helper(new Helper());
    helper->self_ = helper;
    return helper;
}

void Helper::start() {
    helperLog("info", "Helper starting (pid " + std::to_string(::getpid()) + ")");
    touchHeartbeat();
    observeWorkspace();
    registerReconfigurationCallback();
    startSafetyTimer();
    lookForMainApp();
}

void Helper::observeWorkspace() {
    launchObserver = workspace::observeLaunches(forwarding(&Helper::mainAppLaunched));
    terminateObserver = workspace::observeTerminations(forwarding(&Helper::mainAppTerminated));
    wakeObserver = workspace::observeWakes(touchHeartbeat);
}

workspace::ApplicationHandler Helper::forwarding(void (Helper::*handle)(pid_t)) const {
    return [weak = self_, handle](const std::optional<workspace::RunningApplication>& application) {
        if (!application || !isMainApp(*application)) {
            return;
        }
        if (const std::shared_ptr<Helper> helper = weak.lock()) {
            (*helper.*handle)(application->processIdentifier);
        }
    };
}

void Helper::startSafetyTimer() {
    safetyTimer = main_queue::makeTimer(safetyInterval, safetyTick);
    if (!safetyTimer) {
        helperLog("error", "safety timer could not be created");
    }
}

void Helper::lookForMainApp() {
    if (const std::optional<pid_t> pid = runningMainAppPID(std::nullopt)) {
        helperLog("info",
                  "Tolvaran already running at helper start (pid " + std::to_string(*pid) + ")");
        watch(*pid);
        return;
    }
    helperLog("info", "Tolvaran not running at helper start; running cold-start check");
    runQueuedRestoreSequence("cold-start", std::nullopt);
}

}  // namespace tolvaran
