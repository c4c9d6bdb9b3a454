// The main dispatch queue as the helper uses it: deferred work, a repeating timer, and the exit of
// a process. All handlers run on the main thread, one after the other.
#pragma once

#include <dispatch/dispatch.h>
#include <sys/types.h>

#include <functional>

namespace tolvaran::main_queue {

using Work = std::function<void()>;

/// Runs `work` once, after everything that is already queued.
void async(Work work);

/// Runs `work` once, `seconds` from now.
void asyncAfter(double seconds, Work work);

/// Owns a dispatch source together with its handler, or is empty. Destroying it releases the
/// source; cancel a source first if it must not fire again.
class Source {
  public:
    Source() = default;
    Source(Source&& other) noexcept;
    Source& operator=(Source&& other) noexcept;
    ~Source();

    explicit operator bool() const { return source_ != nullptr; }
    /// Prevents further handler calls; one already running finishes. Not for an empty source.
    void cancel();

  private:
    friend Source makeTimer(double interval, Work handler);
    friend Source makeExitWatch(pid_t pid, Work handler);
    Source(dispatch_source_t source, Work handler);

    dispatch_source_t source_ = nullptr;
};

/// A running timer that fires after `interval` seconds and then every `interval` seconds, without
/// leeway. Empty if the system cannot create one.
Source makeTimer(double interval, Work handler);

/// A running watch that fires once when the process exits, or at once if it has already exited.
/// Empty if the system cannot create one.
Source makeExitWatch(pid_t pid, Work handler);

}  // namespace tolvaran::main_queue
