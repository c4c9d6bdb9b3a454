// What a Mac does not reveal about itself, so that a description cannot hold it either: the one
// place where a description may differ from the machine.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::tests {

struct Untold {
    std::string key;
    std::string reason;
    /// Removes the key from a machine's `mac` object, or reduces it to what the Mac reveals.
    std::function<void(nlohmann::json& mac)> forget;
};

const std::vector<Untold>& untold();

}  // namespace tolvaran::tests
