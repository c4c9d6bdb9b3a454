// The program tolvaran_simulator, apart from its main function.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "report/terminal.hpp"

namespace simulator {

/// Plays the scenario that the arguments name, and reports.
/// @param arguments without the program's name
/// @param out takes the summary or the result, and nothing else
/// @param errors takes one line for each failed expectation, or one that says what is wrong with
///        the scenario, the arguments or the host
/// @param terminal describes `out`
/// @return the exit status: 0 if all expectations are met, 1 if one failed or the report could not
///         be written, 2 if the scenario could not be played or `out` not written
int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                   std::ostream& errors, const report::Terminal& terminal = {});

}  // namespace simulator
