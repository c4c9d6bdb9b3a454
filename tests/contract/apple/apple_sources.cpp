// Apple's Core Foundation and libdispatch on a host that has neither a window server nor the run
// loop that would drain the main queue.
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <poll.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "platform/workspace.hpp"
#include "tests/contract/the_mac.hpp"

// How an event loop other than dispatch's own serves the main queue: the handle is readable when
// there is work, and the callback does it.
extern "C" int _dispatch_get_main_queue_handle_4CF(void);
extern "C" void _dispatch_main_queue_callback_4CF(void* unused);

// Core Foundation calls it, but only a build with Swift defines it.
extern "C" int _CFThreadSetName(pthread_t, const char*) {
    return 0;
}

// Stands for a missing type (see dispatch/dispatch.h beside this file).
struct dispatch_source_type_s {
    int nothing = 0;
};
const dispatch_source_type_s unservedProcessSource;

namespace the_mac {
namespace {

std::uint64_t turnsBegun = 0;

/// Does the main queue's work, or waits for some until a moment of absolute time.
void serveMainQueue(CFAbsoluteTime until) {
    pollfd queue = {.fd = _dispatch_get_main_queue_handle_4CF(), .events = POLLIN, .revents = 0};
    const double milliseconds = std::ceil((until - CFAbsoluteTimeGetCurrent()) * 1000);
    if (::poll(&queue, 1, static_cast<int>(std::max(milliseconds, 0.0))) == 1) {
        ++turnsBegun;
        _dispatch_main_queue_callback_4CF(nullptr);
    }
}

}  // namespace

void prepare() {}

std::size_t leakedObjects() {
    return 0;
}

// There is no user to disturb.
bool mayBeDisturbed() {
    return true;
}

std::uint64_t turns() {
    return turnsBegun;
}

void letPass(double seconds) {
    const CFAbsoluteTime end = CFAbsoluteTimeGetCurrent() + seconds;
    do {
        serveMainQueue(end);
    } while (CFAbsoluteTimeGetCurrent() < end);
}

bool waitUntil(const std::function<bool()>& condition, double seconds) {
    const CFAbsoluteTime end = CFAbsoluteTimeGetCurrent() + seconds;
    while (!condition() && CFAbsoluteTimeGetCurrent() < end) {
        serveMainQueue(CFAbsoluteTimeGetCurrent() + 0.01);
    }
    return condition();
}

pid_t startProcess() {
    throw std::logic_error("the tests that watch processes are not served");
}

void endProcess(pid_t) {
    throw std::logic_error("the tests that watch processes are not served");
}

void receive(const std::string&) {
    throw std::logic_error("there is no distributed notification center");
}

std::vector<Notification> received() {
    throw std::logic_error("there is no distributed notification center");
}

}  // namespace the_mac

namespace tolvaran::workspace {

void withAutoreleasePool(const std::function<void()>& work) {
    work();
}

}  // namespace tolvaran::workspace
