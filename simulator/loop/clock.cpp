#include "simulator/loop/clock.hpp"
#include "simulator/on_reset.hpp"

#include <algorithm>
#include <ctime>

namespace simulator::clock {
namespace {

constexpr std::int64_t virtualStart = 1'767'225'600 * second;  // 2026-01-01T00:00:00Z

struct ClockState {
    Kind kind = Kind::virtualTime;
    Time virtualNow = 0;
    std::int64_t realStart = 0;  // CLOCK_MONOTONIC at time 0
};

ClockState& clockState() {
    static ClockState instance;
    return instance;
}

std::int64_t read(clockid_t id) {
    timespec time{};
    clock_gettime(id, &time);
    return time.tv_sec * second + time.tv_nsec;
}

}  // namespace

static const OnReset restartVirtually([] { restart(Kind::virtualTime); });

void restart(Kind kind) {
    clockState() = {kind, 0, kind == Kind::realTime ? read(CLOCK_MONOTONIC) : 0};
}

bool isVirtual() {
    return clockState().kind == Kind::virtualTime;
}

Time now() {
    return isVirtual() ? clockState().virtualNow : read(CLOCK_MONOTONIC) - clockState().realStart;
}

double seconds() {
    return static_cast<double>(now()) / static_cast<double>(second);
}

Time fromSeconds(double seconds) {
    constexpr double limit = 9.2e9;  // just below what 63 bits of nanoseconds hold
    if (seconds >= limit) {
        return never;
    }
    return seconds > 0 ? static_cast<Time>(seconds * static_cast<double>(second) + 0.5) : 0;
}

std::int64_t date() {
    return isVirtual() ? virtualStart + clockState().virtualNow : read(CLOCK_REALTIME);
}

void moveTo(Time time) {
    clockState().virtualNow = std::max(clockState().virtualNow, time);
}

}  // namespace simulator::clock
