// The running Dock's own hot corners. It looks at its preferences only when it starts: until then
// nothing but these two private functions reads or changes what is in force. They are looked up at
// run time, once per process: in HIServices, or, where that cannot be opened, among the functions
// that the process has anyway. Used by DockHotCornerOverride.
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

/// What this Mac lacks of them: the names of functions, or just "HIServices" where that library
/// cannot be opened and neither function is anywhere else.
std::vector<std::string> missing();

/// The live state; none without the getter, and none when the getter left any of the eight values
/// unfilled.
std::optional<State> read();

/// Gives one corner its action and modifier. There is no telling whether the Dock agreed but to
/// read(). Only to be called when areAvailable().
/// @param corner 0 top-left, 1 top-right, 2 bottom-left, 3 bottom-right
void set(std::int32_t action, std::int32_t corner, std::int32_t modifier);

}  // namespace tolvaran::NativeHotCorners
