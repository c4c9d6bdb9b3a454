#include "simulator/machine/call_record.hpp"

#include <utility>

#include "simulator/loop/clock.hpp"
#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace simulator {
namespace {

using nlohmann::json;

json& record() {
    static json& list = *new json(json::array());
    return list;
}

const OnReset forgetCalls([] { record() = json::array(); });

}  // namespace

void recordCall(std::string_view function, json args, json result) {
    record().push_back({{"at", clock::seconds()},
                        {"call", function},
                        {"args", std::move(args)},
                        {"result", std::move(result)}});
}

json calls() {
    return record();
}

std::size_t recordedCalls() {
    return record().size();
}

}  // namespace simulator
