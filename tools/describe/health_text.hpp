// The state of a user's Mac, in words for people and as JSON for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "report/terminal.hpp"
#include "tools/describe/health.hpp"

namespace tolvaran::describe {

/// A few lines for a terminal, in colour if it has that, and in ASCII if it shows no more.
std::string healthText(const Health& health, const simulator::report::Terminal& terminal);

/// {"status", "helper", "tolvaran", "lacking", "waiting"}, as described in docs/mac.md.
nlohmann::json healthJSON(const Health& health);

}  // namespace tolvaran::describe
