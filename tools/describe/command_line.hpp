// The program tolvaran_describe, apart from its main function.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "report/terminal.hpp"

namespace tolvaran::describe {

/// What only the host can tell.
struct Host {
    std::string macOS;                     // the system's version
    simulator::report::Terminal terminal;  // what `out` is
};

/// Does what the arguments ask for, and only reads but for the report that they name.
/// @param arguments without the program's name
/// @param out takes what was asked for
/// @param errors takes what was left out, or the one line that says what went wrong
/// @return the exit status: 0 for success, 1 if something could not be written, 2 if the arguments
///         make no sense; for --health see health.hpp
int runCommandLine(const std::vector<std::string>& arguments, const Host& host, std::ostream& out,
                   std::ostream& errors);

}  // namespace tolvaran::describe
