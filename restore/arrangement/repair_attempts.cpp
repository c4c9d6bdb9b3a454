#include "restore/arrangement/repair_attempts.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <optional>

#include "restore/support/process_wide.hpp"

namespace tolvaran::repair_attempts {
namespace {

using Arrangement = std::vector<HardwarePosition>;

struct Move {
    Arrangement arrangement;
    CFAbsoluteTime at;
    bool leftZigzag;
};

struct Exclusion {
    std::optional<Arrangement> arrangement;  // none: all of them
    CFAbsoluteTime since;
};

struct Memory {
    std::vector<CGDirectDisplayID> displays = {};  // in ascending order
    std::vector<Move> moves = {};
    std::vector<Exclusion> exclusions = {};
    bool leftZigzag = false;  // the last move, and the displays have not been in order since
};

ProcessWide<Memory> memory;

/// Also false if the clock has been set back since.
bool isWithin(double seconds, CFAbsoluteTime since, CFAbsoluteTime now) {
    return since <= now && now - since < seconds;
}

void dropWhatIsOver(CFAbsoluteTime now) {
    std::erase_if(memory.get().moves,
                  [&](const Move& move) { return !isWithin(quickSuccession, move.at, now); });
    std::erase_if(memory.get().exclusions, [&](const Exclusion& exclusion) {
        return !isWithin(goodWhile, exclusion.since, now);
    });
}

}  // namespace

void beginCheck(std::vector<CGDirectDisplayID> displays) {
    std::ranges::sort(displays);
    if (!displays.empty() && displays != memory.get().displays) {
        memory.get() = {.displays = std::move(displays)};
    }
}

void forget() {
    memory.get() = {};
}

void noteOrder() {
    std::erase_if(memory.get().moves, [](const Move& move) { return !move.leftZigzag; });
    memory.get().leftZigzag = false;
}

Verdict noteMove(const Arrangement& arrangement, bool leftZigzag) {
    const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
    dropWhatIsOver(now);
    memory.get().leftZigzag = leftZigzag;
    auto& moves = memory.get().moves;
    auto& exclusions = memory.get().exclusions;
    moves.push_back({.arrangement = arrangement, .at = now, .leftZigzag = leftZigzag});
    if (moves.size() >= mostOfAll) {
        exclusions.push_back({.arrangement = std::nullopt, .since = now});
        return Verdict::leaveAll;
    }
    const auto count = std::ranges::count(moves, arrangement, &Move::arrangement);
    if (static_cast<std::size_t>(count) < mostOfOne) {
        return Verdict::goOn;
    }
    exclusions.push_back({.arrangement = arrangement, .since = now});
    return Verdict::leaveThisOne;
}

bool mayTry(const Arrangement& arrangement) {
    if (memory.get().exclusions.empty()) {
        return true;
    }
    dropWhatIsOver(CFAbsoluteTimeGetCurrent());
    return std::ranges::none_of(memory.get().exclusions, [&](const Exclusion& exclusion) {
        return exclusion.arrangement.value_or(arrangement) == arrangement;
    });
}

bool haveLeftZigzag() {
    return memory.get().leftZigzag && !memory.get().exclusions.empty();
}

}  // namespace tolvaran::repair_attempts
