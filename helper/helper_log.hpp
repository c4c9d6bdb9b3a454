// The helper's log: plain text lines, written to standard error and to a file. The file is rotated
// by size; one previous generation is kept. File-system failures are ignored: without a file the
// lines still reach standard error. Main thread only.
#pragma once

#include <string>

namespace tolvaran {

/// Creates the logs directory, moves log files over from their older place in the profile
/// directory, rotates a current log of 5 MiB or more and opens the log. Called once, before
/// anything logs.
void setUpHelperLog();

/// Writes one line: "[yyyy-MM-dd HH:mm:ss.SSS] [elapsed] [helper] [level] message", with the local
/// time and the seconds since the first line. Control characters in the message are escaped, so
/// that names and file contents from outside cannot forge lines.
/// @param level "debug", "info", "warn" or "error"
void helperLog(const std::string& level, const std::string& message);

}  // namespace tolvaran
