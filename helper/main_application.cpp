#include "helper/main_application.hpp"

#include <algorithm>
#include <vector>

namespace tolvaran {
namespace {

template <typename Accepts>
std::optional<pid_t> firstLiveInstance(Accepts accepts) {
    for (const workspace::RunningApplication& application : workspace::runningApplications()) {
        if (isMainApp(application) && !application.terminated &&
            accepts(application.processIdentifier)) {
            return application.processIdentifier;
        }
    }
    return std::nullopt;
}

}  // namespace

bool isMainApp(const workspace::RunningApplication& application) {
    return application.bundleIdentifier == mainAppBundleID;
}

std::optional<pid_t> runningMainAppPID(std::optional<pid_t> excluding) {
    return firstLiveInstance([&](pid_t pid) { return pid != excluding; });
}

bool isMainAppPIDAlive(pid_t pid) {
    return firstLiveInstance([&](pid_t candidate) { return candidate == pid; }).has_value();
}

}  // namespace tolvaran
