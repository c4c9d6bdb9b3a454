#include "simulator/loop/clock.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <vector>

#include "simulator/loop/event_loop.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Clock : public SimulatorTest {};

TEST_F(Clock, StartsAtAFixedDateIfVirtual) {
    EXPECT_EQ(CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970, 1767225600);
    advance(0.25);
    EXPECT_EQ(CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970, 1767225600.25);
    EXPECT_EQ(now(), 0.25);
    reset();
    EXPECT_EQ(now(), 0);
}

TEST_F(Clock, IsMovedToWhatIsDueIfVirtual) {
    std::vector<clock::Time> runs;
    const auto note = [&] { runs.push_back(clock::now()); };
    queueWork(3600 * clock::second, note);
    queueWork(60 * clock::second, note);
    queueWork(3600 * clock::second + 1, note);
    runUntil(3600 * clock::second);
    EXPECT_THAT(runs, testing::ElementsAre(60 * clock::second, 3600 * clock::second));
    EXPECT_EQ(clock::now(), 3600 * clock::second);
}

TEST_F(Clock, IsMovedByNanosleepIfVirtual) {
    bool hasHappened = false;
    planEvent(clock::second, [&] { hasHappened = true; });
    const timespec duration{1, 500'000'000};
    timespec remaining{9, 9};
    EXPECT_EQ(nanosleep(&duration, &remaining), 0);
    EXPECT_EQ(remaining.tv_sec, 0);
    EXPECT_EQ(now(), 1.5);
    EXPECT_TRUE(hasHappened);
    const timespec wrong{0, clock::second};
    EXPECT_EQ(nanosleep(&wrong, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    addFault({{"call", "nanosleep"}, {"result", "EINTR"}});
    EXPECT_EQ(nanosleep(&duration, nullptr), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(now(), 1.5);
}

TEST_F(Clock, WaitsAsLongAsItSaysIfReal) {
    clock::restart(clock::Kind::realTime);
    const auto before = std::chrono::steady_clock::now();
    // What is due runs when it is due, not only at the end.
    struct Reached {};
    queueWork(clock::fromSeconds(0.05), [] { throw Reached(); });
    EXPECT_THROW(runUntil(clock::fromSeconds(24 * 3600)), Reached);
    EXPECT_GE(now(), 0.05);
    runUntil(clock::fromSeconds(0.1));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(100));
}

TEST_F(Clock, ShowsTheHostsDateIfReal) {
    clock::restart(clock::Kind::realTime);
    // Not with time(), which lags behind by some milliseconds.
    const auto hostsDate = [] {
        const auto time = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration<double>(time).count();
    };
    const double before = hostsDate();
    const double date = CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970;
    EXPECT_GT(date, before - 0.001) << "a date has microseconds";
    EXPECT_LT(date, hostsDate() + 0.001);
}

TEST_F(Clock, TakesSeconds) {
    const struct {
        double seconds;
        clock::Time time;
    } rows[] = {{0, 0},
                {-1, 0},
                {0.2, 200'000'000},
                {1e-9, 1},
                {60, 60 * clock::second},
                {1e300, clock::never}};
    for (const auto& [seconds, time] : rows) {
        EXPECT_EQ(clock::fromSeconds(seconds), time) << seconds;
    }
}

}  // namespace
}  // namespace tolvaran::tests
