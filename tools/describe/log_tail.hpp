// The end of the helper's log.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::describe {

/// The helper's last log lines, at most `most`, from the current log file and the one before it.
/// Files below the application-support directory are named by their path in it, as in a scenario's
/// result; bytes that are not UTF-8 become U+FFFD. Empty if there is no log.
std::vector<std::string> logTail(std::size_t most);

}  // namespace tolvaran::describe
