// Waiting. The system waits only where the window server takes effect some time after it has
// answered and tells nobody when.
#pragma once

namespace tolvaran {

/// Blocks the calling thread for this many seconds (0 or more), also when signals arrive meanwhile
/// (up to a thousand of them).
void sleepFor(double seconds);

}  // namespace tolvaran
