#include "simulator/loop/event_loop.hpp"

#include <string>
#include <vector>

#include "simulator/loop/clock.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

using testing::ElementsAre;

class EventLoop : public SimulatorTest {
  protected:
    std::function<void()> note(const std::string& name) {
        return [this, name] { noted_.push_back(name); };
    }
    std::vector<std::string> noted_;
};

TEST_F(EventLoop, EventsComeBeforeWorkThatIsDueAtTheSameTime) {
    queueWork(clock::second, note("work 1"));
    planEvent(clock::second, note("event 1"));
    queueWork(clock::second, note("work 2"));
    planEvent(clock::second, note("event 2"));
    planEvent(0, note("event 0"));
    runUntil(clock::second);
    EXPECT_THAT(noted_, ElementsAre("event 0", "event 1", "event 2", "work 1", "work 2"));
}

TEST_F(EventLoop, WorkThatAnEventQueuesWaitsForTheOtherEventsOfThatTime) {
    planEvent(clock::second, [&] {
        noted_.emplace_back("event 1");
        queueWork(clock::now(), note("work"));
    });
    planEvent(clock::second, note("event 2"));
    runUntil(clock::second);
    EXPECT_THAT(noted_, ElementsAre("event 1", "event 2", "work"));
}

TEST_F(EventLoop, WorkThatAnEventQueuesRunsBeforeOtherWorkOfThatTime) {
    queueWork(clock::second, note("own"));
    planEvent(clock::second, [&] {
        onMainQueue(note("caused 1"));
        queueWork(2 * clock::second, note("caused for later"));
        onMainQueue([&] {
            noted_.emplace_back("caused 2");
            onMainQueue(note("own answer"));
        });
    });
    queueWork(2 * clock::second, note("later"));
    runUntil(2 * clock::second);
    EXPECT_THAT(noted_, ElementsAre("caused 1", "caused 2", "own", "own answer", "caused for later",
                                    "later"));
}

TEST_F(EventLoop, AnEventThatATestPerformsCounts) {
    onMainQueue(note("own"));
    performEvent([&] { onMainQueue(note("caused")); });
    onMainQueue(note("own, later"));
    runUntil(0);
    EXPECT_THAT(noted_, ElementsAre("caused", "own", "own, later"));
}

/// Work that queues itself again whenever it runs, and notes when that was.
class Restless {
  public:
    Restless() {
        onMainQueue([this] { run(); });
    }
    std::vector<double> times;

  private:
    void run() {
        times.push_back(now());
        onMainQueue([this] { run(); });
    }
};

TEST_F(EventLoop, AProcessThatNeverRestsReachesItsEnd) {
    const Restless restless;
    std::vector<double> events;
    for (const double at : {0.0, 1.5, 3.0, 3.5}) {
        planEvent(clock::fromSeconds(at), [&] { events.push_back(now()); });
    }
    runUntil(3 * clock::second);
    EXPECT_EQ(now(), 3);
    ASSERT_EQ(restless.times.size(), 1004U);
    EXPECT_EQ(restless.times[999], 0);
    EXPECT_THAT(std::vector(restless.times.begin() + 1000, restless.times.end()),
                ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(events, ElementsAre(0, 1.5, 3));
}

TEST_F(EventLoop, APieceThatTakesLongerThanTheRunIsItsLast) {
    const Restless restless;
    runUntil(clock::second / 2);
    EXPECT_EQ(now(), 0.5);
    EXPECT_EQ(restless.times.size(), 1001U);
}

TEST_F(EventLoop, MuchWorkTakesNoTimeIfTimePassesBetween) {
    std::vector<double> times;
    for (int i = 0; i < 4000; ++i) {
        queueWork(i / 1000 * clock::second, [&] { times.push_back(now()); });
    }
    runUntil(3 * clock::second);
    ASSERT_EQ(times.size(), 4000U);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(times[i], static_cast<double>(i / 1000)) << i;
    }
    EXPECT_EQ(now(), 3);
}

TEST_F(EventLoop, DroppedWorkDoesNotRun) {
    const WorkID dropped = queueWork(clock::second, note("dropped"));
    const WorkID ran = queueWork(clock::second, note("ran"));
    dropWork(dropped);
    runUntil(clock::second);
    dropWork(ran);
    EXPECT_THAT(noted_, ElementsAre("ran"));
}

TEST_F(EventLoop, SleepingLetsEventsHappenButNoWork) {
    planEvent(clock::second, note("event"));
    queueWork(clock::second, note("work"));
    onMainQueue(note("device"));
    sleepUntil(2 * clock::second);
    EXPECT_THAT(noted_, ElementsAre("event"));
    EXPECT_EQ(clock::now(), 2 * clock::second);
    runUntil(2 * clock::second);
    EXPECT_THAT(noted_, ElementsAre("event", "device", "work"));
}

TEST_F(EventLoop, AnExceptionLeavesTheLoopUsable) {
    queueWork(0, [] { throw std::runtime_error("thrown"); });
    queueWork(0, note("next"));
    EXPECT_THROW(runUntil(0), std::runtime_error);
    runUntil(0);
    EXPECT_THAT(noted_, ElementsAre("next"));
}

TEST_F(EventLoop, ClearingDropsEverythingButLastingWork) {
    queueWork(0, note("work"));
    queueLastingWork(note("lasting"));
    planEvent(0, note("event"));
    setEndOfRun(clock::second);
    reset();
    EXPECT_EQ(endOfRun(), 0);
    runUntil(clock::second);
    EXPECT_THAT(noted_, ElementsAre("lasting"));
}

}  // namespace
}  // namespace tolvaran::tests
