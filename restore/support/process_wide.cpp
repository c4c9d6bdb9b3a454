#include "restore/support/process_wide.hpp"

#include <utility>
#include <vector>

namespace tolvaran {
namespace {

std::vector<std::function<void()>>& endings() {
    static std::vector<std::function<void()>> list;
    return list;
}

}  // namespace

void atEndOfProcess(std::function<void()> forget) {
    endings().push_back(std::move(forget));
}

void endProcess() {
    // In reverse order of creation; forgetting one value may still use an earlier one.
    while (!endings().empty()) {
        const std::function<void()> forget = std::move(endings().back());
        endings().pop_back();
        forget();
    }
}

}  // namespace tolvaran
