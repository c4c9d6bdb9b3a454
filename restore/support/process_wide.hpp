// State that lives as long as the process. Almost everything here is computed afresh on every call;
// the few exceptions (caches of what cannot change, the leases, the one Helper) are declared as
// ProcessWide values, so that they can all be found. The log sinks (paths/restore_log.hpp) are the
// one exception: they belong to the host.
//
// On a user's Mac a program is one process, and this is a static variable with a lock. Tests play
// more than that: one process after another on the same records, and the main application beside
// the helper. For them each process has values of its own (PlayedProcess), which end together
// (forgetProcessWideValues()).
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace tolvaran {

/// Registers what is to happen when the process's values are forgotten. May be called by any
/// thread.
void whenForgotten(std::function<void()> forget);

/// Forgets every ProcessWide value of this process, as its end would, the newest first; each is
/// made anew when it is asked for again. For tests and the player only; nothing that runs on a
/// user's Mac calls it. No other thread may use a value of the process meanwhile.
void forgetProcessWideValues();

/// Makes this thread play another process, one with values of its own, in a scope. For tests only.
class PlayedProcess {
  public:
    /// @param number tells the processes apart; 0 is what every thread plays otherwise
    explicit PlayedProcess(int number);
    ~PlayedProcess();
    PlayedProcess(const PlayedProcess&) = delete;
    PlayedProcess& operator=(const PlayedProcess&) = delete;

    /// The process that this thread plays.
    static int current();

  private:
    int before_;
};

/// A value made on first use, once, and kept for the life of the process. Threads that ask for it
/// at the same time wait for it to be made: the main application may first need one on another
/// thread than the main one. What they do with the value is for them to order.
template <typename T>
class ProcessWide {
  public:
    /// The value; default-constructed on first use.
    T& get() {
        return get([] { return T(); });
    }

    /// The value; made by `make` on first use, which must not ask for the same value.
    template <typename Make>
    T& get(Make make) {
        const int process = PlayedProcess::current();
        Slot& slot = slotOf(process);
        const std::lock_guard lock(slot.making);
        if (!slot.value) {
            slot.value.emplace(make());
            whenForgotten([this, process] { slotOf(process).value.reset(); });
        }
        return *slot.value;
    }

  private:
    // Each process has a lock of its own: one that is stopped while it makes its value must not
    // hold another one back.
    struct Slot {
        std::mutex making;
        std::optional<T> value;
    };

    Slot& slotOf(int process) {
        const std::lock_guard lock(finding_);
        return slots_[process];
    }

    std::mutex finding_;
    std::map<int, Slot> slots_;  // by process
};

}  // namespace tolvaran
