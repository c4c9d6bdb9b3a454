// Waiting. The system waits only where the window server answers before a change takes effect and
// sends no notice when it does.
#pragma once

namespace tolvaran {

/// Blocks the calling thread for this many seconds (0 or more), even if up to a thousand signals
/// arrive meanwhile.
void sleepFor(double seconds);

}  // namespace tolvaran
