// Plays another process on the same Mac and files, within the program under test.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>

namespace tolvaran::tests {

/// Does `work` as another process would: with another process ID, and with process-wide values of
/// its own, which are then forgotten. The calling thread waits.
void inAnotherProcess(const std::function<void()>& work, pid_t pid = 4000);

/// Has another process do `work` at the start of this process's call number `index`, counting from
/// 0 the outside calls that faults could meet. simulator::reset() ends it.
/// @return the running count of such calls
std::shared_ptr<const std::size_t> duringCall(std::size_t index, const std::function<void()>& work);

/// The ID of a process that has ended, which is free now.
pid_t endedProcess();

}  // namespace tolvaran::tests
