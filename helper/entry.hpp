// The helper as a process: everything between the start of main and its return.
#pragma once

namespace tolvaran {

/// Sets up the helper's log and points the library's three log sinks at it.
void setUpLogging();

/// The whole life of the helper process. In this order: opens the standard streams that it was
/// started without, ignores SIGPIPE, sets up logging, cleans up what a killed process left half
/// done in the state directory, forbids activation (no Dock icon, menu bar or windows), creates and
/// starts the one Helper, and runs the event loop. Everything happens on the calling thread, which
/// must be the main thread.
/// @return 0 if the event loop ever returns
int helperMain();

}  // namespace tolvaran
