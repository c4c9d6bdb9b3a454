// Results like the player's, for tests of what is drawn from them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"

namespace tolvaran::tests {

using namespace simulator;
using namespace simulator::report;

using nlohmann::json;

/// A machine with every key, from the `mac` of a scenario.
inline json completeMac(const json& part) {
    reset(part);
    return machine();
}

inline json display(int id, double x, double y, double width, double height) {
    return {{"id", id}, {"vendor", 10}, {"model", 20}, {"frame", {x, y, width, height}}};
}

inline json macWith(const std::vector<json>& displays) {
    return completeMac({{"displays", displays}});
}

/// A run in which nothing was logged or called.
inline json resultOf(const json& before, const json& after) {
    return {{"scenario", {{"name", "a run"}, {"clock", "virtual"}, {"until", 2}}},
            {"timeline", json::array()},
            {"order", json::array()},
            {"before", {{"at", 0.5}, {"mac", before}, {"files", json::object()}}},
            {"log", json::array()},
            {"calls", json::array()},
            {"notifications", json::array()},
            {"mac", after},
            {"files", json::object()}};
}

inline void addEvent(json& result, double at, json event) {
    event["at"] = at;
    result["timeline"].push_back(std::move(event));
    result["order"].push_back("event");
}

inline void addLine(json& result, double at, const std::string& level, const std::string& message) {
    result["log"].push_back({{"at", at}, {"level", level}, {"message", message}});
    result["order"].push_back("log");
}

inline void addCall(json& result, double at, const std::string& name, json args, json value) {
    result["calls"].push_back(
        {{"at", at}, {"call", name}, {"args", std::move(args)}, {"result", std::move(value)}});
    result["order"].push_back("call");
}

}  // namespace tolvaran::tests
