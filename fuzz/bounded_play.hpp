// Plays any scenario to its end, whatever it holds. Used by the fuzz targets that run the helper.
#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "player/scenario.hpp"

namespace tolvaran::fuzz {

/// How a play ended.
enum class Ending {
    whole,    // at the time given
    refused,  // the Mac did not let something happen
    stopped,  // the helper stopped itself, as it must on a number that no Mac can have
    endless,  // it was cut off: the helper did not come to rest
};

struct BoundedPlay {
    Ending ending = Ending::whole;
    std::string why = {};                    // of all endings but whole
    nlohmann::json result = {};              // of whole: the scenario's result
    std::vector<std::string> leftOver = {};  // of whole: what is not closed, released or finished
    std::size_t configurations = 0;          // of the displays, in the busiest minute
};

/// Called before every outside call.
using Watch = std::function<void(const std::string& function)>;

/// Plays the scenario with its application-support and log directories below `root`.
BoundedPlay playBounded(const simulator::Scenario& scenario, const std::string& root,
                        const Watch& watch = nullptr);

}  // namespace tolvaran::fuzz
