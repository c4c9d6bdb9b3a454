#include "player/observation.hpp"

#include "simulator/host/files.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/machine/call_record.hpp"
#include "simulator/simulator.hpp"

namespace simulator {
namespace {

using nlohmann::json;

/// What the helper may restore: everything but the list of applications, which it only reads, and
/// its own sign of life.
json restorable(json moment) {
    moment.erase("at");
    moment["mac"].erase("applications");
    moment["files"].erase("State/.helper-heartbeat");
    return moment;
}

json presentMoment(const std::string& logs) {
    return {{"at", clock::seconds()}, {"mac", machine()}, {"files", stateFiles(logs)}};
}

}  // namespace

void Observation::noteCalls() {
    for (; callsNoted_ < recordedCalls(); ++callsNoted_) {
        order_.push_back("call");
    }
}

void Observation::play(const json& document, const std::function<void()>& perform) {
    noteCalls();
    order_.push_back("event");
    json played = document;
    played["at"] = clock::seconds();
    timeline_.push_back(std::move(played));
    perform();
}

void Observation::logged() {
    noteCalls();
    order_.push_back("log");
}

void Observation::begin(const std::string& logs) {
    logs_ = logs;
    latest_ = presentMoment(logs_);
    observeLoop([this](LoopMoment moment) { look(moment); });
}

void Observation::look(LoopMoment moment) {
    if (isFound_) {
        return;
    }
    json present = presentMoment(logs_);
    // The helper did not make changes during an event.
    if (moment != LoopMoment::afterEvent && restorable(present) != restorable(latest_)) {
        isFound_ = true;
        return;
    }
    latest_ = std::move(present);
}

void Observation::addTo(json& result) {
    noteCalls();
    look(LoopMoment::beforeWork);
    result["timeline"] = timeline_;
    result["order"] = order_;
    result["before"] = latest_;
}

}  // namespace simulator
