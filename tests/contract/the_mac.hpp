// The Mac that the contract tests run on: the simulated one, or the one they are started on.
// Implemented once for each (simulated_mac.cpp, real_mac.cpp), and for Apple's own code on another
// host (apple/apple_sources.cpp).
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace the_mac {

/// Begins a test. The simulated Mac then has two displays, the main one not listed first, and two
/// running applications, one of them the Finder; a real one is taken as it is.
void prepare();

/// How many objects the test has created and not released; 0 on a real Mac, which cannot count
/// them.
std::size_t leakedObjects();

/// Whether a test may change what a user would see, if only for a moment: on a real Mac only with
/// TOLVARAN_CONTRACT_MAY_DISTURB set in the environment.
bool mayBeDisturbed();

/// Lets the main queue, timers, process watches and notifications work for a time, in seconds.
void letPass(double seconds);

/// Lets them work until `condition` holds, for `seconds` at most. @return whether it held
bool waitUntil(const std::function<bool()>& condition, double seconds = 5.0);

/// How many turns the main thread's event loop has begun. Each serves the main queue once at most.
std::uint64_t turns();

/// Starts a process that does nothing until it is ended.
pid_t startProcess();
/// Ends it; it is gone when this returns.
void endProcess(pid_t pid);

/// A distributed notification as another process received it.
struct Notification {
    std::string name;
    std::optional<std::string> marker;  // the string under "marker" in its user info
    bool operator==(const Notification&) const = default;
};
/// Receives the notifications of this name from now on, until the test ends.
void receive(const std::string& name);
/// What was received so far, in order.
std::vector<Notification> received();

}  // namespace the_mac

/// One contract test.
class Contract : public ::testing::Test {
  protected:
    Contract() { the_mac::prepare(); }
    void TearDown() override { EXPECT_EQ(the_mac::leakedObjects(), 0U); }
};
