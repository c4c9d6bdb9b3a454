#include "simulator/host/file_calls.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class FileCalls : public SimulatorTest {
  protected:
    FileCalls() {
        exposeToFaults(exposed_);
        std::filesystem::create_directories(exposed_);
        writeFile(exposed_ + "/file", "content");
        writeFile(hidden_, "content");
    }
    TemporaryDirectory directory_;
    std::string exposed_ = directory_ / "exposed";
    std::string hidden_ = directory_ / "exposed.not";
};

/// A redirected call, made on `directory` or what is in it; true if it succeeded.
struct Call {
    const char* name;
    std::function<bool(const std::string& directory)> perform;
};

bool onDescriptor(const std::string& directory, const std::function<bool(int)>& use) {
    const int descriptor = open((directory + "/file").c_str(), O_RDWR | O_CLOEXEC);
    const bool result = use(descriptor);
    close(descriptor);
    return result;
}

bool onDirectory(const std::string& directory, const std::function<bool(DIR*)>& use) {
    DIR* const entries = opendir(directory.c_str());
    const bool result = use(entries);
    closedir(entries);
    return result;
}

const std::vector<Call>& allCalls() {
    static const std::vector<Call> all{
        {"close",
         [](const auto& at) {
             const int descriptor = open((at + "/file").c_str(), O_RDONLY | O_CLOEXEC);
             const bool closed = close(descriptor) == 0;
             if (!closed) {
                 clearFaults();
                 close(descriptor);
             }
             return closed;
         }},
        {"closedir",
         [](const auto& at) {
             // Volatile, or the compiler assumes that the failed call has closed it.
             DIR* volatile entries = opendir(at.c_str());
             const bool closed = closedir(entries) == 0;
             if (!closed) {
                 clearFaults();
                 closedir(entries);
             }
             return closed;
         }},
        {"fcntl",
         [](const auto& at) {
             return onDescriptor(at, [](int d) { return fcntl(d, F_BARRIERFSYNC) == 0; });
         }},
        {"fcntl",
         [](const auto& at) {
             return onDescriptor(at, [](int d) { return fcntl(d, F_FULLFSYNC) == 0; });
         }},
        {"fstat",
         [](const auto& at) {
             struct stat status {};
             return onDescriptor(
                 at, [&](int d) { return fstat(d, &status) == 0 && status.st_size == 7; });
         }},
        {"fsync",
         [](const auto& at) { return onDescriptor(at, [](int d) { return fsync(d) == 0; }); }},
        {"link",
         [](const auto& at) {
             return link((at + "/file").c_str(), (at + "/linked").c_str()) == 0;
         }},
        {"lseek",
         [](const auto& at) {
             return onDescriptor(at, [](int d) { return lseek(d, 0, SEEK_END) == 7; });
         }},
        {"mkdir", [](const auto& at) { return mkdir((at + "/made").c_str(), 0777) == 0; }},
        {"mkostemp",
         [](const auto& at) {
             std::string path = at + "/XXXXXX";
             const int descriptor = mkostemp(path.data(), O_CLOEXEC);
             close(descriptor);
             return descriptor >= 0 && std::filesystem::exists(path);
         }},
        {"open",
         [](const auto& at) {
             const int descriptor =
                 open((at + "/new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0640);
             struct stat status {};
             fstat(descriptor, &status);
             close(descriptor);
             return descriptor >= 0 && (status.st_mode & 0777) == 0640;
         }},
        {"opendir",
         [](const auto& at) {
             DIR* const entries = opendir(at.c_str());
             if (entries != nullptr) {
                 closedir(entries);
             }
             return entries != nullptr;
         }},
        {"read",
         [](const auto& at) {
             char buffer[16];
             return onDescriptor(at, [&](int d) { return read(d, buffer, 16) == 7; });
         }},
        {"readdir",
         [](const auto& at) {
             return onDirectory(at, [](DIR* d) { return readdir(d) != nullptr; });
         }},
        {"rename",
         [](const auto& at) {
             return rename((at + "/file").c_str(), (at + "/renamed").c_str()) == 0;
         }},
        {"stat",
         [](const auto& at) {
             struct stat status {};
             return stat((at + "/file").c_str(), &status) == 0;
         }},
        {"unlink", [](const auto& at) { return unlink((at + "/file").c_str()) == 0; }},
        {"write",
         [](const auto& at) {
             return onDescriptor(at, [](int d) { return write(d, "new", 3) == 3; });
         }},
    };
    return all;
}

TEST_F(FileCalls, EveryCallWorksWithoutFaults) {
    for (const Call& call : allCalls()) {
        const TemporaryDirectory fresh;
        writeFile(fresh / "file", "content");
        EXPECT_TRUE(call.perform(fresh.path())) << call.name;
    }
}

TEST_F(FileCalls, EveryCallCanBeMadeToFail) {
    for (const Call& call : allCalls()) {
        const TemporaryDirectory fresh;
        writeFile(fresh / "file", "content");
        exposeToFaults(fresh.path());
        const std::vector<std::string> before = fresh.list();
        addFault({{"call", call.name}, {"result", "EIO"}});
        errno = 0;
        EXPECT_FALSE(call.perform(fresh.path())) << call.name;
        clearFaults();
        EXPECT_EQ(readFile(fresh / "file"), "content") << call.name << " had an effect";
        EXPECT_THAT(fresh.list(), testing::IsSupersetOf(before)) << call.name;
    }
}

TEST_F(FileCalls, AFaultNamesTheErrorOrItsNumber) {
    for (const json& result : {json("ENOSPC"), json(ENOSPC)}) {
        clearFaults();
        addFault({{"call", "unlink"}, {"result", result}});
        errno = 0;
        EXPECT_EQ(unlink((exposed_ + "/file").c_str()), -1);
        EXPECT_EQ(errno, ENOSPC);
    }
    EXPECT_TRUE(readFile(exposed_ + "/file"));
}

TEST_F(FileCalls, AFaultMayStillHaveTheEffect) {
    addFault({{"call", "unlink"}, {"result", "EIO"}, {"effect", true}});
    EXPECT_EQ(unlink((exposed_ + "/file").c_str()), -1);
    EXPECT_FALSE(readFile(exposed_ + "/file"));
}

TEST_F(FileCalls, WithoutResultACallReportsSuccessAndDoesNothing) {
    for (const char* const name : {"unlink", "open", "write", "rename"}) {
        addFault({{"call", name}, {"effect", false}});
    }
    EXPECT_EQ(unlink((exposed_ + "/file").c_str()), 0);
    EXPECT_EQ(rename((exposed_ + "/file").c_str(), (exposed_ + "/renamed").c_str()), 0);
    const int descriptor = open((exposed_ + "/new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(write(descriptor, "new", 3), 3);
    EXPECT_EQ(close(descriptor), 0);
    EXPECT_EQ(readFile(exposed_ + "/file"), "content");
    EXPECT_FALSE(readFile(exposed_ + "/new"));
}

TEST_F(FileCalls, ATransferMayBeShort) {
    addFault({{"call", "read"}, {"result", {{"bytes", 2}}}, {"times", 1}});
    addFault({{"call", "write"}, {"result", {{"bytes", 2}}}, {"times", 1}});
    const int descriptor = open((exposed_ + "/file").c_str(), O_RDWR | O_CLOEXEC);
    char buffer[16] = "";
    EXPECT_EQ(read(descriptor, buffer, 7), 2);
    EXPECT_EQ(read(descriptor, buffer + 2, 7), 5);
    EXPECT_STREQ(buffer, "content");
    EXPECT_EQ(write(descriptor, "more", 4), 2);
    EXPECT_EQ(write(descriptor, "re", 2), 2);
    close(descriptor);
    EXPECT_EQ(readFile(exposed_ + "/file"), "contentmore");
}

TEST_F(FileCalls, OnlyTransfersCanBeShort) {
    for (const json& result : {json{{"bytes", -1}}, json{{"bytes", "2"}}, json{{"byte", 2}},
                               json{{"bytes", 2}, {"more", 1}}}) {
        EXPECT_THROW(addFault({{"call", "write"}, {"result", result}}), std::invalid_argument)
            << result;
    }
    const json two{{"bytes", 2}};
    EXPECT_THROW(addFault({{"call", "unlink"}, {"result", two}}), std::invalid_argument);
}

TEST_F(FileCalls, TheHostsOtherFunctionsCanFailToo) {
    const time_t time = 0;
    tm broken{};
    EXPECT_NE(getpwuid(getuid()), nullptr);
    EXPECT_NE(localtime_r(&time, &broken), nullptr);
    for (const char* const name : {"getpwuid", "localtime_r"}) {
        addFault({{"call", name}, {"result", nullptr}});
    }
    addFault({{"call", "signal"}, {"result", "EINVAL"}});
    EXPECT_EQ(getpwuid(getuid()), nullptr);
    EXPECT_EQ(localtime_r(&time, &broken), nullptr);
    EXPECT_EQ(std::signal(SIGUSR2, SIG_IGN), SIG_ERR);
    clearFaults();
    EXPECT_EQ(std::signal(SIGUSR2, SIG_DFL), SIG_DFL);
}

TEST_F(FileCalls, ACallHasASubject) {
    std::vector<std::string> subjects;
    decideCalls([&](const std::string&) {
        subjects.push_back(std::filesystem::path(callSubject()).filename());
        return json();
    });
    const int descriptor = open((exposed_ + "/file").c_str(), O_RDONLY | O_CLOEXEC);
    close(descriptor);
    rename((exposed_ + "/file").c_str(), (exposed_ + "/renamed").c_str());
    getpid();
    EXPECT_EQ(subjects, (std::vector<std::string>{"file", "file", "renamed", ""}));
}

TEST_F(FileCalls, FaultsMeetExposedPlacesOnly) {
    struct stat status {};
    addFault({{"call", "stat"}, {"result", "EIO"}});
    const struct {
        std::string path;
        bool met;
    } rows[] = {
        {exposed_ + "/file", true},
        {exposed_, true},
        {exposed_ + "/../exposed/file", true},
        {hidden_, false},
        {exposed_ + "/../exposed.not", false},
        {directory_.path(), false},
        {"/", false},
    };
    for (const auto& [path, met] : rows) {
        EXPECT_EQ(stat(path.c_str(), &status), met ? -1 : 0) << path;
    }
}

TEST_F(FileCalls, DescriptorsBelongWhereTheyWereOpened) {
    const int inside = open((exposed_ + "/file").c_str(), O_RDONLY | O_CLOEXEC);
    const int outside = open(hidden_.c_str(), O_RDONLY | O_CLOEXEC);
    addFault({{"call", "read"}, {"result", "EIO"}});
    char buffer[4];
    EXPECT_EQ(read(inside, buffer, 4), -1);
    EXPECT_EQ(read(outside, buffer, 4), 4);
    close(inside);
    close(outside);
}

TEST_F(FileCalls, TheSystemsOwnDirectoriesAreExposed) {
    struct stat status {};
    addFault({{"call", "stat"}, {"result", "EIO"}});
    for (const char* const variable : {"TOLVARAN_APPLICATION_SUPPORT_DIR", "TOLVARAN_LOGS_DIR"}) {
        EXPECT_EQ(stat(hidden_.c_str(), &status), 0);
        const ScopedEnvironment environment(variable, directory_.path());
        EXPECT_EQ(stat(hidden_.c_str(), &status), -1) << variable;
    }
}

TEST_F(FileCalls, TheStandardLibraryIsNotMet) {
    for (const char* const name : {"open", "read", "write", "close", "stat", "unlink"}) {
        addFault({{"call", name}, {"result", "EIO"}});
    }
    writeFile(exposed_ + "/file", "changed");
    EXPECT_EQ(readFile(exposed_ + "/file"), "changed");
    EXPECT_TRUE(std::filesystem::remove(exposed_ + "/file"));
}

TEST_F(FileCalls, StandardErrorCanBeTaken) {
    std::string taken;
    setStandardErrorSink([&](std::string_view text) {
        taken += text;
        return false;
    });
    EXPECT_EQ(write(STDERR_FILENO, "text", 4), 4);
    setStandardErrorSink({});
    EXPECT_EQ(taken, "text");
}

TEST_F(FileCalls, TheProcessIDCanBeGiven) {
    const pid_t host = getpid();
    setProcessID(77);
    EXPECT_EQ(getpid(), 77);
    EXPECT_EQ(kill(77, 0), 0);
    reset();
    EXPECT_EQ(getpid(), host);
}

TEST_F(FileCalls, AreShownToAnObserverOnceTheyHaveHadTheirEffect) {
    std::vector<std::string> shown;
    observeFileCalls([&](const FileCall& call) {
        const std::string name(call.function);
        shown.push_back(name + (call.path != nullptr ? " " + std::string(call.path) : "") +
                        (call.newPath != nullptr ? " " + std::string(call.newPath) : "") +
                        (name == "write" ? " " + std::string(call.data) : ""));
        errno = EIO;  // must not reach the caller
    });
    const std::string file = exposed_ + "/file";
    const std::string moved = exposed_ + "/moved";
    errno = 0;
    const int descriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    write(descriptor, "text", 4);
    fsync(descriptor);
    addFault({{"call", "rename"}, {"result", "EIO"}, {"times", 1}});
    addFault({{"call", "unlink"}, {"effect", false}, {"times", 1}});
    unlink(file.c_str());
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(rename(file.c_str(), moved.c_str()), -1);
    rename(file.c_str(), moved.c_str());
    unlink((exposed_ + "/missing").c_str());
    close(descriptor);
    unlink(moved.c_str());
    const std::vector<std::string> expected = {"open " + file, "write text",
                                               "fsync",        "rename " + file + " " + moved,
                                               "close",        "unlink " + moved};
    EXPECT_EQ(shown, expected);
    reset();
    mkdir((exposed_ + "/new").c_str(), 0700);
    EXPECT_EQ(shown, expected);
}

}  // namespace
}  // namespace tolvaran::tests
