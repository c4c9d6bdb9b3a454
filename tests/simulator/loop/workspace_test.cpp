#include "platform/workspace.hpp"

#include <string>
#include <vector>

#include "simulator/loop/clock.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

namespace workspace = tolvaran::workspace;
using testing::ElementsAre;
using workspace::RunningApplication;

class Workspace : public SimulatorTest {
  protected:
    workspace::ApplicationHandler note(const std::string& name) {
        return [this, name](const std::optional<RunningApplication>& application) {
            const std::string who = application
                                        ? application->bundleIdentifier.value_or("no bundle") +
                                              " " + std::to_string(application->processIdentifier) +
                                              (application->terminated ? " terminated" : "")
                                        : "nobody";
            noted_.push_back(name + ": " + who);
        };
    }
    std::vector<std::string> noted_;
};

TEST_F(Workspace, ListsApplicationsInOrder) {
    reset({{"applications",
            {{{"bundle", "b"}, {"pid", 9}},
             {{"bundle", nullptr}, {"pid", 3}},
             {{"bundle", "a"}, {"pid", 5}, {"terminated", true}}}}});
    EXPECT_THAT(
        workspace::runningApplications(),
        ElementsAre(RunningApplication{"b", 9, false}, RunningApplication{std::nullopt, 3, false},
                    RunningApplication{"a", 5, true}));
}

TEST_F(Workspace, ObserversReceiveTheirNotificationsOnTheMainQueue) {
    const auto launches = workspace::observeLaunches(note("launch"));
    const auto terminations = workspace::observeTerminations(note("termination"));
    int wakes = 0;
    const auto wake = workspace::observeWakes([&] { ++wakes; });
    perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
    perform({{"terminated", 5}});
    perform({{"wake", true}});
    perform({{"exit", 5}});
    EXPECT_TRUE(noted_.empty());
    advance(0);
    EXPECT_THAT(noted_, ElementsAre("launch: a 5", "termination: a 5 terminated",
                                    "termination: a 5 terminated"));
    EXPECT_EQ(wakes, 1);
}

TEST_F(Workspace, ALaunchOfAListedApplicationIsPostedAgain) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 5}}, {{"bundle", "b"}, {"pid", 6}}}}});
    const auto launches = workspace::observeLaunches(note("launch"));
    perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
    advance(0);
    EXPECT_THAT(noted_, ElementsAre("launch: a 5"));
    EXPECT_THAT(workspace::runningApplications(),
                ElementsAre(RunningApplication{"a", 5, false}, RunningApplication{"b", 6, false}));
}

TEST_F(Workspace, TheListStaysTheSameDuringATurnOfTheMainQueue) {
    const RunningApplication a{"a", 5, false};
    const RunningApplication b{"b", 6, false};
    reset({{"applications", {{{"bundle", "a"}, {"pid", 5}}}}});
    planEvent(clock::second, [] { perform({{"launch", {{"bundle", "b"}, {"pid", 6}}}}); });
    planEvent(clock::second, [] { perform({{"terminated", 5}}); });
    planEvent(3 * clock::second, [] { perform({{"exit", 5}}); });
    queueWork(0, [&] {
        sleepUntil(2 * clock::second);
        EXPECT_THAT(workspace::runningApplications(), ElementsAre(a));
        queueWork(0, [&] {
            EXPECT_THAT(workspace::runningApplications(),
                        ElementsAre(RunningApplication{"a", 5, true}, b));
            noted_.push_back("later turn");
        });
    });
    queueWork(0, [&] {
        EXPECT_THAT(workspace::runningApplications(), ElementsAre(a));
        noted_.push_back("same turn");
    });
    advance(2);
    EXPECT_THAT(noted_, ElementsAre("same turn", "later turn"));
    advance(1);
    EXPECT_THAT(workspace::runningApplications(), ElementsAre(b));
}

TEST_F(Workspace, WorkThatBecomesDueDuringATurnBelongsToALaterOne) {
    planEvent(clock::second, [] { perform({{"launch", {{"bundle", "b"}, {"pid", 6}}}}); });
    queueWork(0, [&] { sleepUntil(2 * clock::second); });
    queueWork(clock::second, [&] {
        EXPECT_EQ(workspace::runningApplications().size(), 1U);
        noted_.push_back("later turn");
    });
    advance(2);
    EXPECT_THAT(noted_, ElementsAre("later turn"));
}

TEST_F(Workspace, TheListStaysTheSameInAnAutoreleasePool) {
    workspace::withAutoreleasePool([] {
        workspace::withAutoreleasePool([] {});
        perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
        EXPECT_TRUE(workspace::runningApplications().empty());
    });
    EXPECT_EQ(workspace::runningApplications().size(), 1U);
}

TEST_F(Workspace, ResetEndsAPieceOfWork) {
    workspace::withAutoreleasePool([] {
        reset({{"applications", {{{"bundle", "a"}, {"pid", 5}}}}});
        EXPECT_EQ(workspace::runningApplications().size(), 1U);
    });
    EXPECT_EQ(workspace::runningApplications().size(), 1U);
}

TEST_F(Workspace, TheExitEventComesBeforeTheNotification) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 5}}}}});
    std::vector<std::size_t> listedAtNotification;
    const auto terminations = workspace::observeTerminations([&](const auto&) {
        listedAtNotification.push_back(workspace::runningApplications().size());
    });
    perform({{"exit", 5}});
    EXPECT_TRUE(workspace::runningApplications().empty());
    EXPECT_THAT(listedAtNotification, ElementsAre());
    advance(0);
    EXPECT_THAT(listedAtNotification, ElementsAre(0U));
}

TEST_F(Workspace, ANotificationMayNameNoApplication) {
    const auto launches = workspace::observeLaunches(note("launch"));
    postLaunch(std::nullopt);
    advance(0);
    EXPECT_THAT(noted_, ElementsAre("launch: nobody"));
}

TEST_F(Workspace, AnObserverThatIsGoneReceivesNothing) {
    {
        const auto launches = workspace::observeLaunches(note("launch"));
        perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
    }
    advance(0);
    EXPECT_TRUE(noted_.empty());
}

TEST_F(Workspace, MovedObserversStay) {
    std::optional<workspace::Observation> kept;
    {
        workspace::Observation first = workspace::observeLaunches(note("launch"));
        kept.emplace(std::move(first));
    }
    perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
    advance(0);
    EXPECT_EQ(noted_.size(), 1U);
}

TEST_F(Workspace, TheEventLoopReturnsAtTheEndOfTheRun) {
    int runs = 0;
    queueWork(2 * clock::second, [&] { ++runs; });
    workspace::runEventLoop();
    EXPECT_EQ(now(), 0);
    setEndOfRun(3 * clock::second);
    workspace::runEventLoop();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(now(), 3);
}

TEST_F(Workspace, ProhibitingActivationIsSeen) {
    EXPECT_FALSE(activationIsProhibited());
    workspace::prohibitActivation();
    EXPECT_TRUE(activationIsProhibited());
    EXPECT_EQ(calls(), json::array()) << "it is about the process, not about the Mac";
    reset();
    EXPECT_FALSE(activationIsProhibited());
}

}  // namespace
}  // namespace tolvaran::tests
