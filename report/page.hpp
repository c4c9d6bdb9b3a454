// The report of a run as one HTML page without scripts or network access. Written by
// tolvaran_simulator --report.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simulator::report {

/// @param result of a run that was observed (with scenario, timeline, order and before)
std::string page(const nlohmann::json& result);

/// The page's style sheet, without that of the pictures.
const char* pageStyle();

}  // namespace simulator::report
