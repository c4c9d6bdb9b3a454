// The state of a user's Mac, in words for people and as JSON for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "report/terminal.hpp"
#include "tools/describe/health.hpp"

namespace tolvaran::describe {

/// A few lines for a terminal, in colour if it has colours, and in ASCII if it shows nothing else.
std::string healthText(const Health& health, const simulator::report::Terminal& terminal);

/// The same facts as an object: {"status", "helper", "tolvaran", "lacking", "waiting"}.
nlohmann::json healthJSON(const Health& health);

}  // namespace tolvaran::describe
