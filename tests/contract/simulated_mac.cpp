#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "simulator/loop/event_loop.hpp"
#include "simulator/simulator.hpp"
#include "tests/contract/the_mac.hpp"

namespace the_mac {
namespace {

constexpr double step = 0.01;  // seconds

std::size_t liveAtStart = 0;
pid_t lastPID = 0;
std::set<std::string> awaited;

}  // namespace

void prepare() {
    simulator::reset(nlohmann::json::parse(R"({
        "displays": [
            {"id": 7, "vendor": 1552, "model": 41000, "serial": 99,
             "frame": [-1920, 0, 1920, 1080], "mode": 2,
             "modes": [{"number": 1, "width": 1280, "height": 720},
                       {"number": 2, "width": 1920, "height": 1080}]},
            {"id": 3, "vendor": 1552, "model": 41001, "frame": [0, 0, 1440, 900], "mode": 5,
             "modes": [{"number": 5, "width": 1440, "height": 900, "density": 2}]}],
        "applications": [{"bundle": null, "pid": 300}, {"bundle": "com.apple.finder", "pid": 301}],
        "registry": [{"DisplayVendorID": 1552, "DisplayProductID": 41000,
                      "DisplaySerialString": "ABC"}]
    })"));
    liveAtStart = simulator::liveObjects();
    lastPID = 5000;
    awaited.clear();
}

std::size_t leakedObjects() {
    return simulator::liveObjects() - liveAtStart;
}

bool mayBeDisturbed() {
    return true;
}

void letPass(double seconds) {
    simulator::advance(seconds);
}

bool waitUntil(const std::function<bool()>& condition, double seconds) {
    for (double waited = 0; !condition() && waited < seconds; waited += step) {
        simulator::advance(step);
    }
    return condition();
}

std::uint64_t turns() {
    return simulator::turnsOfMainQueue();
}

pid_t startProcess() {
    simulator::perform({{"launch", {{"bundle", nullptr}, {"pid", ++lastPID}}}});
    return lastPID;
}

void endProcess(pid_t pid) {
    simulator::perform({{"exit", pid}});
}

void receive(const std::string& name) {
    awaited.insert(name);
}

std::vector<Notification> received() {
    std::vector<Notification> list;
    for (const auto& posted : simulator::notifications()) {
        Notification notification{.name = posted.at("name"), .marker = std::nullopt};
        const auto& userInfo = posted.at("userInfo");
        if (userInfo.is_object() && userInfo.contains("marker")) {
            notification.marker = userInfo.at("marker");
        }
        if (awaited.contains(notification.name)) {
            list.push_back(notification);
        }
    }
    return list;
}

}  // namespace the_mac
