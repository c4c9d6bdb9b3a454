// The program tolvaran_describe, apart from its main function.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "report/terminal.hpp"

namespace tolvaran::describe {

/// What only the host knows.
struct Host {
    std::string macOS;                     // the version of macOS
    simulator::report::Terminal terminal;  // describes `out`
};

/// Does what the arguments ask for. Writes nothing except the report that they name.
/// @param arguments without the program's name
/// @param out takes what was asked for
/// @param errors takes what was left out, or one line that says what went wrong
/// @return the exit status: 0 for success, 1 if something could not be written or not be made
///         anonymous, 2 if the arguments make no sense; for --health see health.hpp
int runCommandLine(const std::vector<std::string>& arguments, const Host& host, std::ostream& out,
                   std::ostream& errors);

}  // namespace tolvaran::describe
