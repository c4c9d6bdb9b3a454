// The helper's log: plain text lines to standard error and to a file that is rotated by size to one
// previous generation. No failure of the file system ever stops the helper or is reported; without
// a file the lines still reach standard error.
#pragma once

#include <string>

namespace tolvaran {

/// Creates the logs directory, moves log files over from their older place in the profile
/// directory, rotates a current log of 5 MiB or more and opens the log. Called once, before
/// anything logs.
void setUpHelperLog();

/// Writes one line: "[yyyy-MM-dd HH:mm:ss.SSS] [elapsed] [helper] [level] message", the time local,
/// the elapsed seconds since the first line. Control characters in the message are written as
/// escapes, since names and file contents from outside must not be able to forge lines.
/// @param level "debug", "info", "warn" or "error"
void helperLog(const std::string& level, const std::string& message);

}  // namespace tolvaran
