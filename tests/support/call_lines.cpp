#include "tests/support/call_lines.hpp"

#include <nlohmann/json.hpp>

#include "simulator/simulator.hpp"

namespace tolvaran::tests {

std::vector<std::string> callLines() {
    std::vector<std::string> lines;
    for (const nlohmann::json& call : simulator::calls()) {
        lines.push_back(call.at("call").get<std::string>() + " " + call.at("args").dump() + " = " +
                        call.at("result").dump());
    }
    return lines;
}

}  // namespace tolvaran::tests
