#include "simulator/host/file_calls.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

#include "simulator/faults/faults.hpp"
#include "simulator/host/host_calls.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

namespace fs = std::filesystem;

struct FileCallState {
    std::vector<std::string> exposed;
    std::map<int, std::string> open;  // the paths that redirected calls have opened
    std::optional<pid_t> processID;
    StandardErrorSink standardError;
    std::function<void(const FileCall&)> observe;
};

FileCallState& fileCallState() {
    static FileCallState& instance = *new FileCallState;
    return instance;
}

const OnReset forgetSettings([] {
    fileCallState().observe = nullptr;
    fileCallState().exposed.clear();
    fileCallState().processID.reset();
});

/// Whether the path is absolute and has no "." or ".." or empty component.
bool isNormal(std::string_view path) {
    const auto has = [&](std::string_view part) { return path.find(part) != path.npos; };
    return path.starts_with('/') && !has("//") && !has("/./") && !has("/../") &&
           !path.ends_with("/.") && !path.ends_with("/..");
}

std::string normal(const std::string& path) {
    return isNormal(path) ? path : fs::absolute(path).lexically_normal().string();
}

/// Both paths are normal.
bool isBelow(std::string_view path, std::string_view directory) {
    const std::string_view top = directory.substr(0, directory.find_last_not_of('/') + 1);
    return path.starts_with(top) && (path.size() == top.size() || path[top.size()] == '/');
}

/// A directory that an environment variable names.
class NamedDirectory {
  public:
    explicit NamedDirectory(const char* variable) : variable_(variable) {}

    /// Whether the normal path is in it; false if the variable names none.
    bool contains(std::string_view path) {
        const char* const value = std::getenv(variable_);
        if (value == nullptr || *value == '\0') {
            return false;
        }
        if (value != value_ || *value != '/') {
            value_ = value;
            directory_ = normal(value_);
        }
        return isBelow(path, directory_);
    }

  private:
    const char* variable_;
    std::string value_;      // of the variable when it was last looked at
    std::string directory_;  // what it names, normal
};

/// The path is normal.
bool isExposed(std::string_view path) {
    static NamedDirectory support("TOLVARAN_APPLICATION_SUPPORT_DIR");
    static NamedDirectory logs("TOLVARAN_LOGS_DIR");
    if (support.contains(path) || logs.contains(path)) {
        return true;
    }
    return std::any_of(fileCallState().exposed.begin(), fileCallState().exposed.end(),
                       [&](const std::string& directory) { return isBelow(path, directory); });
}

/// The path that a call concerns, if faults may meet it; none for nearly every call.
using Subject = std::optional<std::string>;

Subject subject(const char* path) {
    if (!callsAreWatched() || path == nullptr ||
        !(isNormal(path) ? isExposed(path) : isExposed(normal(path)))) {
        return std::nullopt;
    }
    return path;
}

Subject subject(int descriptor) {
    if (!callsAreWatched()) {
        return std::nullopt;
    }
    const auto open = fileCallState().open.find(descriptor);
    return open != fileCallState().open.end() && isExposed(open->second) ? Subject(open->second)
                                                                         : std::nullopt;
}

Subject subject(DIR* directory) {
    return callsAreWatched() ? subject(dirfd(directory)) : std::nullopt;
}

/// For a call with two paths the new one, which says what the call is for.
Subject subject(const char* from, const char* to) {
    const Subject target = subject(to);
    return target || !subject(from) ? target : Subject(to);
}

/// For a call that concerns no file.
Subject nothing() {
    return callsAreWatched() ? Subject("") : std::nullopt;
}

/// Performs a call as `fault` says. It returns `failed` if it fails, and `idle()` if the fault
/// makes it report success without doing anything.
/// @param error errno before the call
template <typename Result, typename Idle, typename Body>
Result conclude(const CallFault& fault, int error, Result failed, Idle idle, Body body) {
    if (!fault.forcedResult) {
        errno = error;
        return fault.performs ? body() : idle();
    }
    if (fault.performs) {
        body();
    }
    errno = fault.forcedResult->get<int>();
    return failed;
}

/// One redirected call.
template <typename Result, typename Idle, typename Body>
Result call(std::string_view function, const Subject& subject, Result failed, Idle idle,
            Body body) {
    if (!subject) {
        return body();
    }
    const int error = errno;
    return conclude(beginCall(function, *subject), error, failed, idle, body);
}

template <typename Body>
int call(std::string_view function, const Subject& subject, Body body) {
    return call<int>(
        function, subject, -1, [] { return 0; }, body);
}

/// A read or write, performed by `body(size)`; a fault may let only its first few bytes through.
template <typename Idle, typename Body>
ssize_t transfer(std::string_view function, const Subject& subject, size_t size, Idle idle,
                 Body body) {
    if (!subject) {
        return body(size);
    }
    const int error = errno;
    const CallFault fault = beginCall(function, *subject);
    if (fault.forcedResult && fault.forcedResult->is_object()) {
        errno = error;
        return body(std::min(size, fault.forcedResult->at("bytes").get<size_t>()));
    }
    return conclude<ssize_t>(fault, error, -1, idle, [&] { return body(size); });
}

/// Shows the call to the observer unless it failed, and returns the host's result.
template <typename Result>
Result shown(FileCall call, Result result) {
    if (result >= 0 && fileCallState().observe) {
        const int error = errno;
        call.result = result;
        fileCallState().observe(call);
        errno = error;
    }
    return result;
}

/// Notes what a new descriptor has opened, unless opening failed.
int opened(const char* path, int descriptor) {
    if (descriptor >= 0) {
        const int error = errno;
        fileCallState().open[descriptor] = normal(path);
        errno = error;
    }
    return descriptor;
}

DIR* opened(const char* path, DIR* directory) {
    if (directory != nullptr) {
        opened(path, dirfd(directory));
    }
    return directory;
}

/// Notes the new name of an open file.
int renamed(const char* from, const char* to, int result) {
    for (auto& [descriptor, path] : fileCallState().open) {
        if (result == 0 && path == normal(from)) {
            path = normal(to);
        }
    }
    return result;
}

int openNothing() {
    return __real_open("/dev/null", O_RDWR | O_CLOEXEC);
}

/// A simulated Mac's files need not survive a power cut of the host, and flushing to the host's
/// disk would take most of the time of every run.
int flush(int descriptor) {
    return clock::isVirtual() ? __real_fcntl(descriptor, F_GETFD) < 0 ? -1 : 0
                              : __real_fsync(descriptor);
}

int flushOrControl(int descriptor, int command, long argument) {
    const bool flushes = command == F_FULLFSYNC || command == F_BARRIERFSYNC;
    return flushes ? flush(descriptor) : __real_fcntl(descriptor, command, argument);
}

pid_t processID() {
    return fileCallState().processID.value_or(__real_getpid());
}

int signalProcess(pid_t pid, int signal) {
    if (!clock::isVirtual()) {
        return __real_kill(pid, signal);
    }
    const bool exists = pid == processID() || isAlive(pid);
    if (exists && signal == 0) {
        return 0;
    }
    errno = exists ? EPERM : ESRCH;
    return -1;
}

ssize_t writeSomewhere(int descriptor, const void* buffer, size_t size) {
    if (descriptor == STDERR_FILENO && fileCallState().standardError &&
        !fileCallState().standardError({static_cast<const char*>(buffer), size})) {
        return static_cast<ssize_t>(size);
    }
    return __real_write(descriptor, buffer, size);
}

}  // namespace

void exposeToFaults(const std::string& directory) {
    fileCallState().exposed.push_back(normal(fs::absolute(directory)));
}

void setStandardErrorSink(StandardErrorSink sink) {
    fileCallState().standardError = std::move(sink);
}

void setProcessID(std::optional<pid_t> pid) {
    fileCallState().processID = pid;
}

void observeFileCalls(std::function<void(const FileCall& call)> observe) {
    fileCallState().observe = std::move(observe);
}

}  // namespace simulator

using simulator::call;
using simulator::nothing;
using simulator::shown;
using simulator::subject;
using simulator::transfer;

// The functions that the linker redirects (CMakeLists.txt), except those in dynamic_library.cpp.
extern "C" {

int __wrap_close(int descriptor) {
    return call("close", subject(descriptor), [=] {
        simulator::fileCallState().open.erase(descriptor);
        return shown({.function = "close", .descriptor = descriptor}, __real_close(descriptor));
    });
}

int __wrap_closedir(DIR* directory) {
    return call("closedir", subject(directory), [=] {
        simulator::fileCallState().open.erase(dirfd(directory));
        return __real_closedir(directory);
    });
}

int __wrap_fcntl(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return call("fcntl", subject(descriptor), [=] {
        return shown({.function = "fcntl", .descriptor = descriptor, .flags = command},
                     simulator::flushOrControl(descriptor, command, argument));
    });
}

int __wrap_flock(int descriptor, int operation) {
    return call("flock", subject(descriptor), [=] { return __real_flock(descriptor, operation); });
}

int __wrap_fstat(int descriptor, struct stat* result) {
    return call("fstat", subject(descriptor), [=] { return __real_fstat(descriptor, result); });
}

int __wrap_fsync(int descriptor) {
    return call("fsync", subject(descriptor), [=] {
        return shown({.function = "fsync", .descriptor = descriptor}, simulator::flush(descriptor));
    });
}

int __wrap_futimens(int descriptor, const timespec* times) {
    return call("futimens", subject(descriptor),
                [=] { return __real_futimens(descriptor, times); });
}

pid_t __wrap_getpid() {
    const simulator::CallFault fault = simulator::beginCall("getpid");
    return fault.resultOr(fault.performs ? simulator::processID() : 0);
}

int __wrap_kill(pid_t pid, int signal) {
    return call("kill", nothing(), [=] { return simulator::signalProcess(pid, signal); });
}

int __wrap_link(const char* from, const char* to) {
    return call("link", subject(from), [=] {
        return shown({.function = "link", .path = from, .newPath = to}, __real_link(from, to));
    });
}

off_t __wrap_lseek(int descriptor, off_t offset, int whence) {
    return call<off_t>(
        "lseek", subject(descriptor), -1, [] { return 0; },
        [=] { return __real_lseek(descriptor, offset, whence); });
}

tm* __wrap_localtime_r(const time_t* time, tm* result) {
    return call<tm*>(
        "localtime_r", nothing(), nullptr, [] { return nullptr; },
        [=] { return __real_localtime_r(time, result); });
}

int __wrap_mkdir(const char* path, mode_t mode) {
    return call("mkdir", subject(path), [=] {
        return shown({.function = "mkdir", .path = path}, __real_mkdir(path, mode));
    });
}

int __wrap_mkostemp(char* path, int flags) {
    return call<int>("mkostemp", subject(path), -1, simulator::openNothing, [=] {
        return shown({.function = "mkostemp", .path = path, .flags = flags},
                     simulator::opened(path, __real_mkostemp(path, flags)));
    });
}

int __wrap_nanosleep(const timespec* duration, timespec* remaining) {
    return call("nanosleep", nothing(), [=] {
        using namespace simulator;
        if (duration->tv_sec < 0 || duration->tv_nsec < 0 || duration->tv_nsec >= clock::second) {
            errno = EINVAL;
            return -1;
        }
        sleepUntil(clock::now() + duration->tv_sec * clock::second + duration->tv_nsec);
        if (remaining != nullptr) {
            *remaining = {};
        }
        return 0;
    });
}

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return call<int>("open", subject(path), -1, simulator::openNothing, [=] {
        return shown({.function = "open", .path = path, .flags = flags},
                     simulator::opened(path, __real_open(path, flags, mode)));
    });
}

passwd* __wrap_getpwuid(uid_t user) {
    return simulator::beginCall("getpwuid").isNull() ? nullptr : __real_getpwuid(user);
}

DIR* __wrap_opendir(const char* path) {
    return call<DIR*>(
        "opendir", subject(path), nullptr, [] { return nullptr; },
        [=] { return simulator::opened(path, __real_opendir(path)); });
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t size) {
    return transfer(
        "read", subject(descriptor), size, [] { return 0; },
        [=](size_t most) { return __real_read(descriptor, buffer, most); });
}

dirent* __wrap_readdir(DIR* directory) {
    return call<dirent*>(
        "readdir", subject(directory), nullptr, [] { return nullptr; },
        [=] { return __real_readdir(directory); });
}

int __wrap_rename(const char* from, const char* to) {
    return call("rename", subject(from, to), [=] {
        return shown({.function = "rename", .path = from, .newPath = to},
                     simulator::renamed(from, to, __real_rename(from, to)));
    });
}

simulator::SignalHandler __wrap_signal(int number, simulator::SignalHandler handler) {
    return call<simulator::SignalHandler>(
        "signal", nothing(), SIG_ERR, [] { return SIG_DFL; },
        [=] { return __real_signal(number, handler); });
}

int __wrap_stat(const char* path, struct stat* result) {
    return call("stat", subject(path), [=] { return __real_stat(path, result); });
}

int __wrap_unlink(const char* path) {
    return call("unlink", subject(path),
                [=] { return shown({.function = "unlink", .path = path}, __real_unlink(path)); });
}

ssize_t __wrap_write(int descriptor, const void* buffer, size_t size) {
    return transfer(
        "write", subject(descriptor), size, [=] { return static_cast<ssize_t>(size); },
        [=](size_t most) {
            return shown({.function = "write",
                          .descriptor = descriptor,
                          .data = {static_cast<const char*>(buffer), most}},
                         simulator::writeSomewhere(descriptor, buffer, most));
        });
}

}  // extern "C"
