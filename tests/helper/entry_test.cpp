#include "helper/entry.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "restore/paths/restore_log.hpp"
#include "simulator/host/file_calls.hpp"
#include "tests/helper/helper_test.hpp"
#include "tests/support/other_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const json running = whileTolvaranRuns({812});

/// From now on, collects in order what others can see a helper process do: open its log, make the
/// calls that tie it to its Mac, write lines to its log, and touch the heartbeat.
void watchStart(Lines& done) {
    simulator::decideCalls([&done](const std::string& function) {
        const std::vector<std::string> steps = {"setActivationPolicy",
                                                "observeLaunches",
                                                "observeTerminations",
                                                "observeWakes",
                                                "CGDisplayRegisterReconfigurationCallback",
                                                "dispatch_source_create",
                                                "runningApplications"};
        if (std::find(steps.begin(), steps.end(), function) != steps.end()) {
            done.push_back(function);
        }
        return json();
    });
    simulator::observeFileCalls([&done](const simulator::FileCall& call) {
        const std::string marker = "] [helper] ";
        const auto message = call.data.find(marker);
        if (call.function == "open" && std::string(call.path).ends_with("helper.log")) {
            done.emplace_back("log opened");
        } else if (call.descriptor != STDERR_FILENO && message != call.data.npos) {
            done.emplace_back(call.data.substr(message + marker.size()));
        } else if (call.newPath != nullptr && std::string(call.newPath).ends_with("heartbeat")) {
            done.emplace_back("heartbeat");
        }
    });
}

TEST(Entry, TakesItsStepsInOrder) {
    const HelperProcess process(running);
    process.restart();
    Lines done;
    watchStart(done);
    EXPECT_EQ(helperMain(), 0);
    EXPECT_EQ(done, (Lines{
                        "log opened",
                        "setActivationPolicy",
                        "[info] Helper starting (pid " + std::to_string(::getpid()) + ")\n",
                        "heartbeat",
                        "observeLaunches",
                        "observeTerminations",
                        "observeWakes",
                        "CGDisplayRegisterReconfigurationCallback",
                        "dispatch_source_create",  // the safety timer
                        "runningApplications",
                        "[info] Tolvaran already running at helper start (pid 812)\n",
                        "dispatch_source_create",  // the watch
                        "[info] Watching PROC_EXIT for Tolvaran pid 812\n",
                    }));
}

TEST(Entry, DoesNotTakeThePlaceOfAClosedStandardStream) {
    HelperProcess process(running);
    const pid_t child = ::fork();
    if (child == 0) {
        process.restart();
        ::close(STDERR_FILENO);
        ::_exit(helperMain());
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(process.takeLog(),
              (Lines{"info: Helper starting (pid " + std::to_string(child) + ")",
                     "info: Tolvaran already running at helper start (pid 812)", watches(812)}));
}

TEST(Entry, LogsWhatTheLibrarySaysAtItsLevel) {
    HelperProcess process;
    RestoreLog::debug("one");
    RestoreLog::info("two");
    RestoreLog::warn("three");
    EXPECT_EQ(process.takeLog(), (Lines{"debug: one", "info: two", "warn: three"}));
}

TEST(Entry, OutlivesTheReaderOfItsStandardError) {
    const HelperProcess process(running);
    std::signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(helperMain(), 0);
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_IGN);
}

TEST(Entry, RemovesWhatAKilledProcessLeftHalfWritten) {
    const HelperProcess process(running);
    const std::string abandoned =
        process.state(".menubar-state.json.unfinished-" + std::to_string(endedProcess()));
    const std::string kept = process.state("menubar-state.json");
    writeFile(abandoned + "-abcdef", "{");
    writeFile(kept, "{}");
    EXPECT_EQ(helperMain(), 0);
    EXPECT_EQ(readFile(abandoned + "-abcdef"), std::nullopt);
    EXPECT_EQ(readFile(kept), "{}");
}

TEST(Entry, ForbidsActivation) {
    const HelperProcess process(running);
    EXPECT_FALSE(simulator::activationIsProhibited());
    EXPECT_EQ(helperMain(), 0);
    EXPECT_TRUE(simulator::activationIsProhibited());
}

}  // namespace
}  // namespace tolvaran::tests
