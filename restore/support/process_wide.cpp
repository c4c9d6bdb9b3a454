#include "restore/support/process_wide.hpp"

#include <mutex>
#include <utility>
#include <vector>

namespace tolvaran {
namespace {

thread_local int playedProcess = 0;

struct Registered {
    std::mutex changing;
    std::map<int, std::vector<std::function<void()>>> byProcess;
};

Registered& registered() {
    static Registered instance;
    return instance;
}

/// Removes and returns what this process registered last; empty if there is nothing.
std::function<void()> takeLast() {
    const std::lock_guard lock(registered().changing);
    std::vector<std::function<void()>>& list = registered().byProcess[playedProcess];
    if (list.empty()) {
        return {};
    }
    std::function<void()> last = std::move(list.back());
    list.pop_back();
    return last;
}

}  // namespace

void whenForgotten(std::function<void()> forget) {
    const std::lock_guard lock(registered().changing);
    registered().byProcess[playedProcess].push_back(std::move(forget));
}

void forgetProcessWideValues() {
    // Forgetting one value may still use an earlier one.
    while (const std::function<void()> forget = takeLast()) {
        forget();
    }
}

PlayedProcess::PlayedProcess(int number) : before_(std::exchange(playedProcess, number)) {}

PlayedProcess::~PlayedProcess() {
    playedProcess = before_;
}

int PlayedProcess::current() {
    return playedProcess;
}

}  // namespace tolvaran
