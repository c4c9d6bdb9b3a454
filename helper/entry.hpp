// The helper as a process: everything between the start of main and its return.
#pragma once

namespace tolvaran {

/// Sets up the helper's log and points the library's three log sinks at it.
void setUpLogging();

/// Makes the process immune to a reader of its standard error that goes away, sets up logging,
/// removes what an earlier helper left unfinished when it was killed while writing a record,
/// creates the one Helper, starts it and runs the event loop. Everything happens
/// on the calling thread, which must be the main thread.
/// @return 0, if the event loop ever returns
int helperMain();

}  // namespace tolvaran
