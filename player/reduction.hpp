// Makes a scenario as small as possible while it still shows something, to turn a user's report
// into a test. Used by tolvaran_simulator --reduce.
#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace simulator {

struct Reduction {
    nlohmann::json scenario;
    std::size_t plays = 0;  // how many scenarios were played for this
};

/// Drops whatever can be dropped: events, faults, files, displays, their modes, entries of records,
/// expectations. Every piece that remains is needed.
/// @param scenario one for which `shows` is true; with `files` in place of `filesFrom`
/// @param shows    whether a scenario still shows what is wanted; false for one that cannot be
///                 played
Reduction reduced(nlohmann::json scenario, const std::function<bool(const nlohmann::json&)>& shows);

/// Whether playing the scenario logs a line or makes a call that contains the text, as in
/// "warn: restoreMenuBar" or "CGSConfigureDisplayMode(2".
bool showsText(const nlohmann::json& scenario, const std::string& text);

/// The place of the first expectation that fails, as in "expect.mac.dock"; empty if none does.
std::string firstFailure(const nlohmann::json& scenario);

}  // namespace simulator
