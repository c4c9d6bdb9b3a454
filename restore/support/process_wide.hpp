// State that lives as long as the process. Almost everything here is computed afresh on every call;
// the few exceptions (caches of what cannot change, the leases, the one Helper) are declared as
// ProcessWide values, so that they can all be found and, where one program plays the lives of
// several processes, all be ended together. The log sinks (paths/restore_log.hpp) are the one
// exception: they belong to the host.
#pragma once

#include <functional>
#include <optional>

namespace tolvaran {

/// Registers what is to happen when the process's life ends.
void atEndOfProcess(std::function<void()> forget);

/// Forgets every ProcessWide value, as the end of the process would. For simulation only; nothing
/// that runs on a user's Mac calls it.
void endProcess();

/// A value made on first use and kept for the life of the process. Not for several threads:
/// everything in this system runs on the main thread.
template <typename T>
class ProcessWide {
  public:
    /// The value; default-constructed on first use.
    T& get() {
        return get([] { return T(); });
    }

    /// The value; made by `make` on first use.
    template <typename Make>
    T& get(Make make) {
        if (!value_) {
            value_.emplace(make());
            atEndOfProcess([this] { value_.reset(); });
        }
        return *value_;
    }

  private:
    std::optional<T> value_;
};

}  // namespace tolvaran
