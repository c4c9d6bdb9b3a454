// A Mac on which Tolvaran has switched all hot corners off.
#pragma once

#include <nlohmann/json.hpp>

namespace tolvaran::tests {

inline nlohmann::json macWithSuppressedCorners() {
    return {{"preferences",
             {{"com.apple.dock",
               {{"wvous-tl-corner", 1},
                {"wvous-tr-corner", 1},
                {"wvous-bl-corner", 1},
                {"wvous-br-corner", 1}}}}},
            {"dock", {{"cornerActions", {1, 1, 1, 1}}, {"cornerModifiers", {0, 0, 0, 0}}}}};
}

}  // namespace tolvaran::tests
