// The helper's only long-lived object: what it watches and what wakes it. Created by the entry
// point and kept until the process is killed; there is no shutdown path.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <sys/types.h>

#include <memory>
#include <optional>

#include "helper/main_queue.hpp"
#include "platform/workspace.hpp"

namespace tolvaran {

/// First delay and repeat period of the safety timer, in seconds.
inline constexpr double safetyInterval = 60.0;

/// Grace period after an exit, in seconds, for a relaunched instance to appear.
inline constexpr double relaunchGrace = 0.2;

/// The display-reconfiguration callback. Queues one restore run tagged "display-reconfig" for each
/// display whose reconfiguration has ended; logs nothing itself. Called by the window server on the
/// main thread.
void reconfigurationCallback(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags,
                             void* userInfo);

/// Main thread only. Handlers hold weak references, so none keeps the Helper alive; a handler that
/// finds it gone skips the work that needs it. Log lines name the main application "Tolvaran"; PID
/// below stands for a process ID.
class Helper {
  public:
    /// A Helper with every field empty. A shared pointer must own it, so there is no constructor.
    static std::shared_ptr<Helper> make();

    /// Touches the heartbeat, registers the observers and the reconfiguration callback, starts the
    /// safety timer, and either watches a running main application or runs the restore sequence
    /// once, tagged "cold-start". Called once. Logs, in this order:
    /// - at "info" "Helper starting (pid PID)"
    /// - if that fails, at "error" "CGDisplayRegisterReconfigurationCallback failed: " and the code
    /// - if that fails, at "error" "safety timer could not be created"
    /// - at "info" "Tolvaran already running at helper start (pid PID)", or "Tolvaran not running
    ///   at helper start; running cold-start check"
    void start();

    // The watch on the main application's process (process_watch.cpp).

    /// Arms the watch on `pid`, in place of any earlier one. Logs at "info" "Watching PROC_EXIT for
    /// Tolvaran pid PID" or at "error" "PROC_EXIT watch could not be created for Tolvaran pid PID".
    void watch(pid_t pid);
    /// A new instance was launched: watches it, unless an earlier one is watched and still lives.
    /// Logs first, at "info" "Tolvaran launched (pid PID)", or at "debug" the same followed by
    /// "; already watching live pid PID, keeping watch".
    void mainAppLaunched(pid_t pid);
    /// The workspace reports that an instance terminated. This is only logged, at "debug", as
    /// "NSWorkspace reports Tolvaran terminated (pid PID)": the watch alone triggers a restore, so
    /// no exit is handled twice.
    void mainAppTerminated(pid_t pid);
    /// The watched process has exited: logs at "info" "PROC_EXIT fired for Tolvaran (pid PID)",
    /// ends the watch and schedules rearmAfterExit().
    static void procExitFired(const std::weak_ptr<Helper>& helper, pid_t pid);
    /// Watches another live instance if there is one, after logging at "info" "Re-arming PROC_EXIT
    /// watch on live Tolvaran pid PID after pid PID exited". Then always runs the restore sequence
    /// tagged "proc-exit", even if the Helper is gone. While another instance lives every step
    /// skips; that distinguishes a relaunch from a crash.
    static void rearmAfterExit(const std::weak_ptr<Helper>& helper, pid_t exitedPID);

    main_queue::Source processSource;  // the exit watch; empty if nothing is watched
    std::optional<pid_t> watchedPID;   // the process that it watches
    main_queue::Source safetyTimer;
    std::optional<workspace::Observation> launchObserver;
    std::optional<workspace::Observation> terminateObserver;
    std::optional<workspace::Observation> wakeObserver;

  private:
    Helper() = default;

    void observeWorkspace();
    void startSafetyTimer();
    void lookForMainApp();
    workspace::ApplicationHandler forwarding(void (Helper::*handle)(pid_t)) const;

    std::weak_ptr<Helper> self_;
};

}  // namespace tolvaran
