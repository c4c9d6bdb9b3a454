// Dispatch: the watch on a process's exit.
#include <dispatch/dispatch.h>

#include <cstdint>
#include <string>
#include <vector>

#include "helper/main_queue.hpp"
#include "tests/contract/dispatch_test.hpp"

namespace {

using namespace dispatch_test;

class ProcessWatch : public Dispatch {};

Source watch(pid_t pid) {
    return {DISPATCH_SOURCE_TYPE_PROC, static_cast<std::uintptr_t>(pid), DISPATCH_PROC_EXIT};
}

// Documented: the handler is called when the process exits, and the source's handle is the process
// ID. Left open: whether it is called only once; a process exits only once.
//
// The helper must also clean up after a main application that is gone before its watch is armed.
// Documented for kernel events: a watch on a process that does not exist is refused; dispatch turns
// the refusal into an exit event.
TEST_F(ProcessWatch, AWatchFiresOnceForARunningProcessAndForOneThatIsGone) {
    for (const bool isGoneBefore : {false, true}) {
        SCOPED_TRACE(isGoneBefore ? "already gone" : "running");
        happened.clear();
        const pid_t pid = the_mac::startProcess();
        if (isGoneBefore) {
            the_mac::endProcess(pid);
        }
        Note exited{&happened, "exited"};
        Source source = watch(pid);
        ASSERT_NE(source.get(), nullptr);
        EXPECT_EQ(dispatch_source_get_handle(source.get()), static_cast<std::uintptr_t>(pid));
        source.onEvent(exited);
        source.resume();
        if (!isGoneBefore) {
            the_mac::letPass(0.05);
            EXPECT_EQ(happened.size(), 0U);
            the_mac::endProcess(pid);
        }
        EXPECT_TRUE(waitFor(1));
        the_mac::letPass(0.2);
        EXPECT_EQ(happened, std::vector<std::string>({"exited"}));
    }
}

// Documented: cancellation prevents further handler calls.
TEST_F(ProcessWatch, ACancelledWatchDoesNotFire) {
    const pid_t pid = the_mac::startProcess();
    Note exited{&happened, "exited"};
    Source source = watch(pid);
    source.onEvent(exited);
    source.resume();
    source.cancel();
    the_mac::endProcess(pid);
    the_mac::letPass(0.2);
    EXPECT_EQ(happened.size(), 0U);
}

// Documented: the system keeps a source while its handler runs, so the handler of the helper's own
// watch may release it.
TEST_F(ProcessWatch, TheHelpersWatchFiresOnceForARunningProcessAndForOneThatIsGone) {
    for (const bool isGoneBefore : {false, true}) {
        happened.clear();
        const pid_t pid = the_mac::startProcess();
        if (isGoneBefore) {
            the_mac::endProcess(pid);
        }
        tolvaran::main_queue::Source source;
        source = tolvaran::main_queue::makeExitWatch(pid, [this, &source] {
            source.cancel();
            source = {};
            happened.emplace_back("exited");
        });
        EXPECT_TRUE(source);
        the_mac::letPass(0.05);
        if (!isGoneBefore) {
            EXPECT_EQ(happened.size(), 0U);
            the_mac::endProcess(pid);
        }
        EXPECT_TRUE(waitFor(1));
        the_mac::letPass(0.2);
        EXPECT_EQ(happened, std::vector<std::string>({"exited"}));
        EXPECT_FALSE(source);
    }
}

}  // namespace
