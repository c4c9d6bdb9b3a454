#include "tests/support/calls.hpp"

#include "simulator/simulator.hpp"

namespace tolvaran::tests {

std::string callLine(const std::string& function, const nlohmann::json& args,
                     const nlohmann::json& result) {
    return function + " " + args.dump() + (result.is_null() ? "" : " = " + result.dump());
}

Lines callLines() {
    Lines lines;
    for (const nlohmann::json& call : simulator::calls()) {
        lines.push_back(callLine(call.at("call"), call.at("args"), call.at("result")));
    }
    return lines;
}

Lines callNames() {
    Lines names;
    for (const nlohmann::json& call : simulator::calls()) {
        names.push_back(call.at("call"));
    }
    return names;
}

}  // namespace tolvaran::tests
