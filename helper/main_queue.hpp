// The main dispatch queue as the helper uses it: work later, a repeating timer, the exit of a
// process. All handlers run on the main thread, one after the other.
#pragma once

#include <dispatch/dispatch.h>
#include <sys/types.h>

#include <functional>

namespace tolvaran::main_queue {

using Work = std::function<void()>;

/// Runs `work` once, after what runs now has ended.
void async(Work work);

/// Runs `work` once, `seconds` from now.
void asyncAfter(double seconds, Work work);

/// Owns a dispatch source together with its handler, or is empty. Destroying it gives the source
/// up; a source that must fire no more is cancelled first.
class Source {
  public:
    Source() = default;
    Source(Source&& other) noexcept;
    Source& operator=(Source&& other) noexcept;
    ~Source();

    explicit operator bool() const { return source_ != nullptr; }
    /// Lets the handler not be called again, as far as it has not begun. Not for an empty source.
    void cancel();

  private:
    friend Source makeTimer(double interval, Work handler);
    friend Source makeExitWatch(pid_t pid, Work handler);
    Source(dispatch_source_t source, Work handler);

    dispatch_source_t source_ = nullptr;
};

/// A running timer that fires first after `interval` seconds and then every `interval` seconds,
/// without leeway. Empty when the system has none to give.
Source makeTimer(double interval, Work handler);

/// A running watch that fires once when the process exits, also when it has exited already. Empty
/// when the system has none to give.
Source makeExitWatch(pid_t pid, Work handler);

}  // namespace tolvaran::main_queue
