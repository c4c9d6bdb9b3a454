// Plays another process on the same Mac and files, within the program under test.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>

namespace tolvaran::tests {

/// Does `work` as another process would: with another process ID and its own process-wide values,
/// which are then forgotten. The calling thread waits.
void inAnotherProcess(const std::function<void()>& work, pid_t pid = 4000);

/// Makes another process do `work` when this process makes its outside call number `index`, counted
/// from 0 over the calls that faults can hit. simulator::reset() ends it.
/// @return the running count of these calls
std::shared_ptr<const std::size_t> duringCall(std::size_t index, const std::function<void()>& work);

/// The ID of a process that has ended; no process has it now.
pid_t endedProcess();

}  // namespace tolvaran::tests
