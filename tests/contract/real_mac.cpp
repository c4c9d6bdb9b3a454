#include <CoreFoundation/CoreFoundation.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <map>
#include <stdexcept>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace the_mac {
namespace {

std::vector<Notification> log;

CFNotificationCenterRef center() {
    return CFNotificationCenterGetDistributedCenter();
}

void keep(CFNotificationCenterRef, void*, CFNotificationName name, const void*,
          CFDictionaryRef userInfo) {
    const CFTypeRef marker =
        userInfo == nullptr ? nullptr : tolvaran::cf::value(userInfo, CFSTR("marker"));
    log.push_back(
        {.name = tolvaran::cf::string(name).value(), .marker = tolvaran::cf::string(marker)});
}

std::uint64_t turnsBegun = 0;

void countTurn(CFRunLoopObserverRef, CFRunLoopActivity, void*) {
    ++turnsBegun;
}

/// Counts the turns of the run loop from now on.
void countTurns() {
    static const auto observer = tolvaran::CFRef<CFRunLoopObserverRef>::assume(
        CFRunLoopObserverCreate(nullptr, kCFRunLoopBeforeTimers, true, 0, countTurn, nullptr));
    CFRunLoopAddObserver(CFRunLoopGetMain(), observer.get(), kCFRunLoopCommonModes);
}

}  // namespace

void prepare() {
    countTurns();
    CFNotificationCenterRemoveEveryObserver(center(), &log);
    log.clear();
}

std::size_t leakedObjects() {
    return 0;
}

bool mayBeDisturbed() {
    return std::getenv("TOLVARAN_CONTRACT_MAY_DISTURB") != nullptr;
}

void letPass(double seconds) {
    const CFAbsoluteTime end = CFAbsoluteTimeGetCurrent() + seconds;
    for (double left = seconds; left > 0; left = end - CFAbsoluteTimeGetCurrent()) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, left, false);
    }
}

bool waitUntil(const std::function<bool()>& condition, double seconds) {
    const CFAbsoluteTime end = CFAbsoluteTimeGetCurrent() + seconds;
    while (!condition() && CFAbsoluteTimeGetCurrent() < end) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    }
    return condition();
}

std::uint64_t turns() {
    return turnsBegun;
}

pid_t startProcess() {
    pid_t pid = 0;
    const char* const arguments[] = {"sleep", "600", nullptr};
    if (::posix_spawn(&pid, "/bin/sleep", nullptr, nullptr, const_cast<char**>(arguments),
                      nullptr) != 0) {
        throw std::runtime_error("no process could be started");
    }
    return pid;
}

void endProcess(pid_t pid) {
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

void receive(const std::string& name) {
    const auto text = tolvaran::cf::makeString(name);
    CFNotificationCenterAddObserver(center(), &log, keep, text.get(), nullptr,
                                    CFNotificationSuspensionBehaviorDeliverImmediately);
}

std::vector<Notification> received() {
    return log;
}

}  // namespace the_mac
