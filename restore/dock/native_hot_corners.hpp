// The running Dock's own hot corners. The Dock reads its preferences only when it starts; only
// these two private functions read or change what is in effect. They are looked up at run time,
// once per process: in HIServices or, if that cannot be opened, among the functions that the
// process has loaded anyway. Used by DockHotCornerOverride. Main thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::NativeHotCorners {

/// The Dock's live state, four elements in each list.
struct State {
    HotCornerValues actions;
    HotCornerValues modifiers;

    bool operator==(const State&) const = default;
};

/// Whether this Mac has both functions.
bool areAvailable();

/// The names of the functions that this Mac lacks, or just "HIServices" if that library cannot be
/// opened and neither function is found elsewhere.
std::vector<std::string> missing();

/// The live state; none without the getter, or if it left any of the eight values unfilled.
std::optional<State> read();

/// Gives one corner its action and modifier. Only read() shows whether the Dock took them. Requires
/// areAvailable().
/// @param corner 0 top-left, 1 top-right, 2 bottom-left, 3 bottom-right
void set(std::int32_t action, std::int32_t corner, std::int32_t modifier);

}  // namespace tolvaran::NativeHotCorners
