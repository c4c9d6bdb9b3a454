// State that lives as long as the process. Almost everything in this system is computed afresh on
// every call. The few exceptions (caches of what cannot change, the leases, the arrangements that
// do not settle the displays, the log's file, the locked directories, the one Helper) are declared
// as ProcessWide values, so that they can all be found. Two things are not: the log sinks
// (paths/restore_log.hpp), which belong to the host, and the recoveries in progress
// (support/files.cpp), which belong to a thread and end with a scope.
//
// On a user's Mac a value is made on first use and never ends, like a static variable in a
// function. Tests play several processes in one: one after another on the same records
// (forgetProcessWideValues()), and the main application beside the helper, each in a thread of its
// own (PlayedProcess). So a value exists once for each played process, and those of a process end
// together.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace tolvaran {

/// Registers a function to call when the process's values are forgotten. Any thread may call it.
void whenForgotten(std::function<void()> forget);

/// Forgets every ProcessWide value of this process, as its end would, the newest first; each is
/// made again when it is next asked for. For tests and the player only; nothing that runs on a
/// user's Mac calls it. No other thread may use a value of the process meanwhile.
void forgetProcessWideValues();

/// Makes this thread play another process, with values of its own, while it lives. For tests only:
/// they switch between the main application and the helper at every call that either makes to the
/// Mac. That takes two threads of one process, and neither may see the other's leases and caches.
class PlayedProcess {
  public:
    /// @param number identifies the process; threads without a PlayedProcess play 0
    explicit PlayedProcess(int number);
    ~PlayedProcess();
    PlayedProcess(const PlayedProcess&) = delete;
    PlayedProcess& operator=(const PlayedProcess&) = delete;

    /// The process that this thread plays.
    static int current();

  private:
    int before_;
};

/// A value that is made on first use and kept for the life of the process. Any thread may ask for
/// it, because any thread may ask for a path (paths/tolvaran_paths.hpp); others wait while it is
/// being made. Using the value is not synchronised.
template <typename T>
class ProcessWide {
  public:
    /// The value; default-constructed on first use.
    T& get() {
        return get([] { return T(); });
    }

    /// The value; made on first use by `make`, which must not ask for the same value.
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
    // Each process has a lock of its own: one that is stopped while making its value must not block
    // another.
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
