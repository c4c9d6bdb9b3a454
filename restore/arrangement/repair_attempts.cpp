#include "restore/arrangement/repair_attempts.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <optional>

#include "restore/support/process_wide.hpp"

namespace tolvaran::repair_attempts {
namespace {

using Arrangement = std::vector<HardwarePosition>;

struct Attempt {
    Arrangement arrangement;
    CFAbsoluteTime at;
    Effect effect;
};

struct Exclusion {
    std::optional<Arrangement> arrangement;  // none: all of them
    CFAbsoluteTime since;
};

struct Memory {
    std::vector<CGDirectDisplayID> displays = {};  // in ascending order
    std::vector<Attempt> attempts = {};
    std::vector<Exclusion> exclusions = {};
    bool leftZigzag = false;  // the last move, and the displays have not been in order since
};

Memory& memory() {
    static ProcessWide<Memory> state;
    return state.get();
}

/// Also false if the clock has been set back since.
bool isWithin(double seconds, CFAbsoluteTime since, CFAbsoluteTime now) {
    return since <= now && now - since < seconds;
}

void dropExpired(CFAbsoluteTime now) {
    std::erase_if(memory().attempts, [&](const Attempt& attempt) {
        return !isWithin(quickSuccession, attempt.at, now);
    });
    std::erase_if(memory().exclusions, [&](const Exclusion& exclusion) {
        return !isWithin(exclusionTime, exclusion.since, now);
    });
}

template <typename Concerns>
bool isExcluded(Concerns concerns) {
    if (memory().exclusions.empty()) {
        return false;
    }
    dropExpired(CFAbsoluteTimeGetCurrent());
    return std::ranges::any_of(memory().exclusions, concerns);
}

}  // namespace

void beginCheck(std::vector<CGDirectDisplayID> displays) {
    std::ranges::sort(displays);
    if (!displays.empty() && displays != memory().displays) {
        memory() = {.displays = std::move(displays)};
    }
}

void forget() {
    memory() = {};
}

void noteOrder() {
    std::erase_if(memory().attempts,
                  [](const Attempt& attempt) { return attempt.effect == Effect::settled; });
    memory().leftZigzag = false;
}

NextStep noteAttempt(const Arrangement& arrangement, Effect effect) {
    const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
    dropExpired(now);
    if (effect != Effect::none) {
        memory().leftZigzag = effect == Effect::leftZigzag;
    }
    auto& attempts = memory().attempts;
    auto& exclusions = memory().exclusions;
    attempts.push_back({.arrangement = arrangement, .at = now, .effect = effect});
    const auto count = std::ranges::count(attempts, arrangement, &Attempt::arrangement);
    const bool isExhausted = static_cast<std::size_t>(count) >= limitForOne;
    if (isExhausted) {
        exclusions.push_back({.arrangement = arrangement, .since = now});
    }
    if (attempts.size() >= limitForAll) {
        exclusions.push_back({.arrangement = std::nullopt, .since = now});
        return NextStep::leaveAll;
    }
    return isExhausted ? NextStep::leaveThisOne : NextStep::goOn;
}

bool mayTry(const Arrangement& arrangement) {
    return !isExcluded(
        [&](const Exclusion& one) { return one.arrangement.value_or(arrangement) == arrangement; });
}

bool mayTryRow(const Arrangement& row) {
    return !isExcluded([&](const Exclusion& one) { return one.arrangement == row; });
}

bool haveLeftZigzag() {
    return memory().leftZigzag && isExcluded([](const Exclusion&) { return true; });
}

}  // namespace tolvaran::repair_attempts
