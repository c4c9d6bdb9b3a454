#include "simulator/faults/faults.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/faults/outside_calls.hpp"
#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace simulator {
namespace {

using nlohmann::json;

struct Fault {
    std::string call;
    std::int64_t skip = 0;
    std::int64_t times = std::numeric_limits<std::int64_t>::max();
    CallFault effect;
    std::int64_t callsSeen = 0;
};

struct FaultState {
    std::vector<Fault> faults;
    std::multimap<std::string, std::function<void()>, std::less<>> hooks;
    std::function<json(const std::string&)> decide;
    std::string subject;
    std::size_t faultsMet = 0;
};

FaultState& faultState() {
    static FaultState& instance = *new FaultState;
    return instance;
}

const OnReset clearFaultsAndHooks([] { faultState() = {}; });

/// How many reads do not show a new value yet; 0 if the fault does not say.
std::int64_t readDelay(const JsonReader& fault, const std::string& call) {
    const auto delay = fault.find("delayReads");
    if (delay && call != "SLSSetMenuBarVisibilityOverrideOnDisplay") {
        delay->fail("only SLSSetMenuBarVisibilityOverrideOnDisplay can be delayed");
    }
    return delay ? delay->integer<std::int64_t>(0) : 0;
}

Fault readFault(const JsonReader& fault) {
    fault.requireKeys({"call", "result", "skip", "times", "effect", "delayReads"});
    Fault read;
    read.call = fault.at("call").text();
    if (!canFail(read.call)) {
        fault.at("call").fail("is not a function that can be made to fail");
    }
    const auto result = fault.find("result");
    const auto effect = fault.find("effect");
    if (!result && !effect && !fault.find("delayReads")) {
        fault.fail("must have a result, an effect or delayReads");
    }
    if (result) {
        read.effect.forcedResult = readFaultResult(read.call, *result);
    }
    read.effect.performs = effect ? effect->boolean() : !result;
    read.effect.delayReads = readDelay(fault, read.call);
    if (const auto skip = fault.find("skip")) {
        read.skip = skip->integer<std::int64_t>(0);
    }
    if (const auto times = fault.find("times")) {
        read.times = times->integer<std::int64_t>(0);
    }
    return read;
}

void runHooks(std::string_view function) {
    std::vector<std::function<void()>> hooks;  // a copy, as the work may add hooks of its own
    const auto [first, last] = faultState().hooks.equal_range(function);
    std::transform(first, last, std::back_inserter(hooks),
                   [](const auto& hook) { return hook.second; });
    for (const std::function<void()>& hook : hooks) {
        hook();
    }
}

/// The fault that a test decides on for this call, if any.
std::optional<CallFault> decided(std::string_view function) {
    if (!faultState().decide) {
        return std::nullopt;
    }
    json fault = faultState().decide(std::string(function));
    if (fault.is_null()) {
        return std::nullopt;
    }
    fault["call"] = function;
    return readFault(JsonReader(fault, "")).effect;
}

}  // namespace

CallFault beginCall(std::string_view function, std::string_view subject) {
    faultState().subject = subject;
    runHooks(function);
    if (const std::optional<CallFault> fault = decided(function)) {
        ++faultState().faultsMet;
        return *fault;
    }
    CallFault result;
    bool met = false;
    for (Fault& fault : faultState().faults) {
        if (fault.call == function) {
            const std::int64_t call = fault.callsSeen++;
            if (!met && call >= fault.skip && call - fault.skip < fault.times) {
                met = true;
                result = fault.effect;
            }
        }
    }
    faultState().faultsMet += met ? 1 : 0;
    return result;
}

void addFaultAt(const JsonReader& place) {
    faultState().faults.push_back(readFault(place));
}

void checkFault(const JsonReader& place) {
    readFault(place);
}

void addFault(const json& fault) {
    addFaultAt(JsonReader(fault, ""));
}

void clearFaults() {
    faultState().faults.clear();
    faultState().faultsMet = 0;
}

std::string callSubject() {
    return faultState().subject;
}

std::size_t faultsMet() {
    return faultState().faultsMet;
}

bool callsAreWatched() {
    return !faultState().faults.empty() || !faultState().hooks.empty() || faultState().decide;
}

void decideCalls(std::function<json(const std::string&)> decide) {
    faultState().decide = std::move(decide);
}

void onCall(const std::string& function, std::function<void()> work) {
    faultState().hooks.emplace(function, std::move(work));
}

}  // namespace simulator
