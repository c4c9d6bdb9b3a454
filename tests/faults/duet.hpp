// Two processes on one simulated Mac, in one program: each has its own thread, and one runs at a
// time. Control can pass to the other between any two calls to the outside.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

namespace tolvaran::tests {

/// One of the two processes.
enum class Actor { helper, mainApplication };

/// How long one of them has the turn.
struct Turn {
    Actor actor;
    std::size_t calls = std::numeric_limits<std::size_t>::max();  // then the next turn begins
    bool endsKilled = false;  // at the end of the turn: nothing it does afterwards has an effect
};

/// What each of them does.
struct Duet {
    std::function<void()> helper;
    std::function<void()> mainApplication;
};

/// How many calls each has made.
struct CallCounts {
    std::size_t helper = 0;
    std::size_t mainApplication = 0;
};

/// Plays both on the current Mac in these turns, then each to its end, the helper first. Each has
/// its own process ID and its own process-wide values, which are forgotten at its end.
CallCounts play(const Duet& duet, const std::vector<Turn>& turns);

/// The process IDs.
inline constexpr int helperID = 501;
inline constexpr int mainApplicationID = 812;

}  // namespace tolvaran::tests
