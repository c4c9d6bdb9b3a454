#include "restore/support/process_wide.hpp"

#include <mutex>
#include <utility>
#include <vector>

namespace tolvaran {
namespace {

struct Endings {
    std::mutex changing;
    std::vector<std::function<void()>> list;
};

Endings& endings() {
    static Endings instance;
    return instance;
}

/// Takes the ending that was registered last off the list; empty when there is none.
std::function<void()> takeLast() {
    const std::lock_guard lock(endings().changing);
    std::vector<std::function<void()>>& list = endings().list;
    if (list.empty()) {
        return {};
    }
    std::function<void()> last = std::move(list.back());
    list.pop_back();
    return last;
}

}  // namespace

void atEndOfProcess(std::function<void()> forget) {
    const std::lock_guard lock(endings().changing);
    endings().list.push_back(std::move(forget));
}

void endProcess() {
    // In reverse order of creation; forgetting one value may still use an earlier one.
    while (const std::function<void()> forget = takeLast()) {
        forget();
    }
}

}  // namespace tolvaran
