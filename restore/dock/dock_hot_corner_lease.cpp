#include "restore/dock/dock_hot_corner_lease.hpp"

#include <cstddef>

namespace tolvaran {

std::string rawValue(DockHotCornerLeaseOwner owner) {
    constexpr std::array names = {"gameMode", "customHotCorners", "displayTransition"};
    return names.at(static_cast<std::size_t>(owner));
}

}  // namespace tolvaran
