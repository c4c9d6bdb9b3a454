#include "tests/support/other_process.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "restore/support/process_wide.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran::tests {
namespace {

constexpr int otherProcess = 1;

}  // namespace

void inAnotherProcess(const std::function<void()>& work, pid_t pid) {
    std::thread([&] {
        const PlayedProcess played(otherProcess);
        simulator::setProcessID(pid);
        work();
        forgetProcessWideValues();
        simulator::setProcessID(std::nullopt);
    }).join();
}

std::shared_ptr<const std::size_t> duringCall(std::size_t index,
                                              const std::function<void()>& work) {
    const auto count = std::make_shared<std::size_t>(0);
    simulator::decideCalls([=](const std::string&) {
        if (PlayedProcess::current() != otherProcess && (*count)++ == index) {
            inAnotherProcess(work);
        }
        return nlohmann::json();
    });
    return count;
}

pid_t endedProcess() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    return child;
}

}  // namespace tolvaran::tests
