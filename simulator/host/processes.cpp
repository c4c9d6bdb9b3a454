#include "simulator/host/processes.hpp"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>
#include <system_error>
#include <vector>

#include "simulator/host/host_calls.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

struct Watch {
    pid_t pid;
    ExitHandler handler;
};

struct ProcessState {
    std::map<pid_t, int> children;  // pid, descriptor of the process
    std::map<ExitWatch, Watch> watches;
    ExitWatch lastWatch = 0;
};

ProcessState& processState() {
    static ProcessState& instance = *new ProcessState;
    return instance;
}

[[noreturn]] void beChild(pid_t parent) {
    // Nothing of the parent's stays open, so that nothing waits for this process by mistake.
    close_range(0, ~0U, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (getppid() == parent) {
        pause();
    }
    _exit(0);
}

int openProcess(pid_t pid) {
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

/// Lets the rest of the Mac know that the process has ended.
void noticeExit(pid_t pid) {
    std::vector<ExitHandler> handlers;
    for (auto watch = processState().watches.begin(); watch != processState().watches.end();) {
        if (watch->second.pid == pid) {
            handlers.push_back(std::move(watch->second.handler));
            watch = processState().watches.erase(watch);
        } else {
            ++watch;
        }
    }
    auto& applications = mac().applications;
    const auto found = std::find_if(applications.begin(), applications.end(),
                                    [pid](const Application& a) { return a.pid == pid; });
    std::optional<Application> ended;
    if (found != applications.end()) {
        ended = *found;
        ended->terminated = true;
        applications.erase(found);
    }
    for (const ExitHandler& handler : handlers) {
        handler();
    }
    if (ended) {
        postTermination(ended);
    }
}

void reap(std::map<pid_t, int>::iterator child) {
    waitpid(child->first, nullptr, 0);
    __real_close(child->second);
    processState().children.erase(child);
}

timespec remaining(clock::Time time) {
    const clock::Time rest = std::max<clock::Time>(time - clock::now(), 0);
    return {rest / clock::second, rest % clock::second};
}

void killChildren() {
    processState().watches.clear();
    while (!processState().children.empty()) {
        const auto child = processState().children.begin();
        __real_kill(child->first, SIGKILL);
        reap(child);
    }
}

const OnReset endChildren(killChildren);

}  // namespace

pid_t startProcess() {
    const pid_t parent = __real_getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        beChild(parent);
    }
    const int descriptor = pid > 0 ? openProcess(pid) : -1;
    if (descriptor < 0) {
        const int error = errno;
        if (pid > 0) {
            __real_kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        throw std::system_error(error, std::generic_category(), "cannot start a child process");
    }
    processState().children.emplace(pid, descriptor);
    return pid;
}

void killProcess(pid_t pid) {
    if (processState().children.contains(pid)) {
        __real_kill(pid, SIGKILL);
    } else {
        noticeExit(pid);
    }
}

bool isAlive(pid_t pid) {
    const auto& applications = mac().applications;
    return std::any_of(applications.begin(), applications.end(),
                       [pid](const Application& a) { return a.pid == pid; });
}

ExitWatch watchExit(pid_t pid, ExitHandler handler) {
    const ExitWatch watch = ++processState().lastWatch;
    processState().watches.emplace(watch, Watch{pid, std::move(handler)});
    return watch;
}

void unwatchExit(ExitWatch watch) {
    processState().watches.erase(watch);
}

void waitForProcesses(clock::Time time) {
    std::vector<pollfd> descriptors;
    std::vector<pid_t> pids;
    for (const auto& [pid, descriptor] : processState().children) {
        descriptors.push_back({descriptor, POLLIN, 0});
        pids.push_back(pid);
    }
    const timespec rest = remaining(time);
    ppoll(descriptors.data(), descriptors.size(), time == clock::never ? nullptr : &rest, nullptr);
    for (std::size_t i = 0; i < pids.size(); ++i) {
        if (descriptors[i].revents != 0) {
            reap(processState().children.find(pids[i]));
            noticeExit(pids[i]);
        }
    }
}

}  // namespace simulator
