// How a user's Mac stands, in words for people and as JSON for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "report/terminal.hpp"
#include "tools/describe/health.hpp"

namespace tolvaran::describe {

/// A few lines for a terminal, in colour where it has that; ASCII only where it shows no more.
std::string healthText(const Health& health, const simulator::report::Terminal& terminal);

/// {"status", "helper", "tolvaran", "lacking", "waiting"}, as docs/mac.md has it.
nlohmann::json healthJSON(const Health& health);

}  // namespace tolvaran::describe
