// State that lives as long as the process. Almost everything here is computed afresh on every call;
// the few exceptions (caches of what cannot change, the leases, the one Helper) are declared as
// ProcessWide values, so that they can all be found and, where one program plays the lives of
// several processes, all be ended together. The log sinks (paths/restore_log.hpp) are the one
// exception: they belong to the host.
#pragma once

#include <functional>
#include <mutex>
#include <optional>

namespace tolvaran {

/// Registers what is to happen when the process's life ends. May be called by any thread.
void atEndOfProcess(std::function<void()> forget);

/// Forgets every ProcessWide value, as the end of the process would; each is made anew when it is
/// asked for again. For simulation only; nothing that runs on a user's Mac calls it. No other
/// thread may use a value meanwhile.
void endProcess();

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
        const std::lock_guard lock(making_);
        if (!value_) {
            value_.emplace(make());
            atEndOfProcess([this] { value_.reset(); });
        }
        return *value_;
    }

  private:
    std::mutex making_;
    std::optional<T> value_;
};

}  // namespace tolvaran
