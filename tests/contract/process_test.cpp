// What a process can learn of itself, and of the applications beside it.
#include <crt_externs.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/workspace.hpp"
#include "restore/support/cf_ref.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using namespace tolvaran;

class Process : public Contract {};

std::string pathOf(CFBundleRef bundle) {
    const auto url = CFRef<CFURLRef>::assume(CFBundleCopyBundleURL(bundle));
    char path[1024] = {};
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.get(), true, reinterpret_cast<UInt8*>(path),
                                                 sizeof path));
    return path;
}

// Left open, since a header is all there is of these two functions: that they give what main() was
// given. Documented for that: a null after the last argument.
TEST_F(Process, TheArgumentsBeginWithTheProgram) {
    ASSERT_GE(*_NSGetArgc(), 1);
    char** const arguments = *_NSGetArgv();
    EXPECT_NE(std::strlen(arguments[0]), 0U);
    EXPECT_EQ(arguments[*_NSGetArgc()], nullptr);
}

// Left open: what the main bundle of a program is that is in none. It has one all the same, its
// directory. Documented: the list of all bundles is of those that the process has opened.
TEST_F(Process, TheMainBundleHasAPathAndIsAmongTheLoadedOnes) {
    const CFBundleRef main = CFBundleGetMainBundle();
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(pathOf(main).substr(0, 1), "/");
    const CFArrayRef all = CFBundleGetAllBundles();
    ASSERT_NE(all, nullptr);
    std::vector<std::string> paths;
    for (CFIndex index = 0; index < CFArrayGetCount(all); ++index) {
        paths.push_back(pathOf(
            static_cast<CFBundleRef>(const_cast<void*>(CFArrayGetValueAtIndex(all, index)))));
    }
    EXPECT_GE(std::ranges::count(paths, pathOf(main)), 1);
}

// Documented: false where the buffer is too small.
TEST_F(Process, APathThatDoesNotFitIsRefused) {
    const auto url = CFRef<CFURLRef>::assume(CFBundleCopyBundleURL(CFBundleGetMainBundle()));
    UInt8 small[1] = {};
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.get(), true, small, sizeof small));
}

// Left open by AppKit: how soon the list follows, and its order. It changes only while the main run
// loop runs.
TEST_F(Process, TheRunningApplicationsAreListedWithTheirProcesses) {
    const auto applications = workspace::runningApplications();
    const auto finder =
        std::ranges::find(applications, std::optional<std::string>("com.apple.finder"),
                          &workspace::RunningApplication::bundleIdentifier);
    ASSERT_NE(finder, applications.end());
    EXPECT_GT(finder->processIdentifier, 0);
    EXPECT_FALSE(finder->terminated);
    for (const auto& application : applications) {
        EXPECT_EQ(std::ranges::count(applications, application.processIdentifier,
                                     &workspace::RunningApplication::processIdentifier),
                  1);
    }
}

// Documented: an observer lives until it is removed. Left open: what a test could make launch, end
// or wake; so nothing is expected to arrive.
TEST_F(Process, AnObservationCanBeBegunAndEnded) {
    const auto nothing = [](const std::optional<workspace::RunningApplication>&) {};
    const auto launches = workspace::observeLaunches(nothing);
    const auto terminations = workspace::observeTerminations(nothing);
    const auto wakes = workspace::observeWakes([] {});
    the_mac::letPass(0.05);
}

}  // namespace
