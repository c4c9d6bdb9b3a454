#include "restore/support/files.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using namespace files;

class Files : public ProcessTest {};

std::string errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

/// The number that the next file to be opened will get.
int lowestFree() {
    const int descriptor = ::open("/dev/null", O_RDONLY);
    ::close(descriptor);
    return descriptor;
}

TEST_F(Files, WritesAndReadsBack) {
    const std::string place = path("record");
    writeAtomically(place, "first");
    writeAtomically(place, std::string("s\0cond", 6));
    EXPECT_EQ(read(place), std::string("s\0cond", 6));
    EXPECT_EQ(files(), Lines{"record"});
}

TEST_F(Files, RemovesNothingAfterAWriteThatSucceeded) {
    Lines called;
    simulator::decideCalls([&](const std::string& function) {
        called.push_back(function);
        return nlohmann::json();
    });
    writeAtomically(path("record"), "first");
    simulator::decideCalls(nullptr);
    EXPECT_EQ(std::ranges::count(called, "rename"), 1);
    EXPECT_EQ(std::ranges::count(called, "unlink"), 0);
}

TEST_F(Files, FlushesTheParentOfADirectoryThatItCreates) {
    const auto flushes = [this] {
        std::size_t count = 0;
        simulator::observeFileCalls([&](const simulator::FileCall& call) {
            count += call.function == "fcntl" || call.function == "fsync" ? 1 : 0;
        });
        createDirectories(path("new/newer"));
        simulator::observeFileCalls(nullptr);
        return count;
    };
    EXPECT_EQ(flushes(), 2U);
    EXPECT_EQ(flushes(), 0U);
}

TEST_F(Files, FlushesTheDirectoryAfterEveryChangeOfARecord) {
    const std::string record = path("record");
    const std::pair<std::function<void()>, Lines> rows[] = {
        {[&] { writeAtomically(record, "first"); }, {"write", "fcntl", "rename", "fcntl"}},
        {[&] { remove(record); }, {"unlink", "fcntl"}},
        {[&] { writeAtomically(record, "second"); }, {"write", "fcntl", "rename", "fcntl"}},
        {[&] {
             const Recovery recovery(record, Recovery::Scope::record);
             remove(record);
         },
         {"rename", "unlink", "fcntl"}},
    };
    for (const auto& [change, expected] : rows) {
        Lines called;
        simulator::observeFileCalls(
            [&](const simulator::FileCall& call) { called.emplace_back(call.function); });
        change();
        simulator::observeFileCalls(nullptr);
        std::erase_if(called, [](const std::string& function) {
            return function == "mkostemp" || function == "open" || function == "close";
        });
        EXPECT_EQ(called, expected);
    }
}

TEST_F(Files, ReadsOnlyRegularFiles) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("loop", path("loop").c_str()), 0);
    for (const std::string name : {"missing", "pipe", "loop", "."}) {
        EXPECT_EQ(read(path(name)), std::nullopt) << name;
    }
    EXPECT_EQ(read("/dev/zero"), std::nullopt);
    EXPECT_EQ(read(""), std::nullopt);
}

TEST_F(Files, GivesUpACallThatIsInterruptedAHundredTimes) {
    writeFile(path("record"), "content");
    failCalls("open", "EINTR");
    EXPECT_EQ(read(path("record")), std::nullopt);
    EXPECT_EQ(simulator::faultsMet(), 100U);
}

TEST_F(Files, ReadsAnEmptyFileAsEmptyContent) {
    writeFile(path("empty"), "");
    EXPECT_EQ(read(path("empty")), "");
}

TEST_F(Files, ReadsLargeFilesWhole) {
    const std::string content(1'000'003, 'x');
    writeFile(path("large"), content);
    EXPECT_EQ(read(path("large")), content);
}

TEST_F(Files, AFailedWriteLeavesTheOldFileAndNothingElse) {
    writeFile(path("target/inside"), "old");  // a directory cannot be replaced by a file
    EXPECT_EQ(errorOf([&] { writeAtomically(path("target"), "new"); }),
              "rename " + path("target: Is a directory"));
    EXPECT_EQ(files(), (Lines{"target/", "target/inside"}));
}

TEST_F(Files, ADirectoryThatCannotBeFlushedDoesNotFailTheWrite) {
    // The file itself is flushed with the first call; the directory with neither of the next two.
    simulator::addFault({{"call", "fcntl"}, {"result", "EINVAL"}, {"skip", 1}});
    simulator::addFault({{"call", "fsync"}, {"result", "EINVAL"}});
    writeAtomically(path("record"), "content");
    EXPECT_EQ(simulator::faultsMet(), 2U);
    EXPECT_EQ(readFile(path("record")), "content");
}

TEST_F(Files, AWriteWithoutAFlushReplacesTheFileOrFails) {
    const std::string place = path("new/record");
    writeUnflushed(place, "older");
    EXPECT_EQ(readFile(place), "older");
    failCalls("fcntl", "EIO");
    failCalls("fsync", "EIO");
    writeUnflushed(place, "old");
    EXPECT_EQ(simulator::faultsMet(), 0U);
    failCalls("rename", "ENOENT");
    EXPECT_EQ(errorOf([&] { writeUnflushed(place, "new"); }),
              "rename " + place + ": No such file or directory");
    EXPECT_EQ(readFile(place), "old");
    EXPECT_EQ(files(), (Lines{"new/", "new/record"}));
}

TEST_F(Files, AFileThatCannotBeFlushedIsNotPutInPlace) {
    writeFile(path("record"), "old");
    for (const std::string call : {"fcntl", "fsync"}) {
        simulator::addFault({{"call", call}, {"result", "EIO"}});
    }
    EXPECT_EQ(errorOf([&] { writeAtomically(path("record"), "new"); }),
              "flush " + path("record: Input/output error"));
    EXPECT_EQ(readFile(path("record")), "old");
    EXPECT_EQ(files(), Lines{"record"});
}

TEST_F(Files, AWriteIntoAMissingDirectoryFails) {
    EXPECT_EQ(errorOf([&] { writeAtomically(path("no/file"), "x"); }),
              "create " + path("no/file: No such file or directory"));
}

TEST_F(Files, AWriteReplacesASymbolicLinkInsteadOfFollowingIt) {
    writeFile(path("elsewhere"), "untouched");
    ASSERT_EQ(::symlink("elsewhere", path("link").c_str()), 0);
    writeAtomically(path("link"), "new");
    EXPECT_EQ(readFile(path("elsewhere")), "untouched");
    EXPECT_EQ(readFile(path("link")), "new");
}

TEST_F(Files, CreatesDirectoriesToAnyDepthAndTwice) {
    createDirectories(path("a/b/c/"));
    createDirectories(path("a/b/c"));
    createParentDirectory(path("a/d/file"));
    EXPECT_EQ(files(), (Lines{"a/", "a/b/", "a/b/c/", "a/d/"}));
}

TEST_F(Files, CreatesDirectoriesWithWhateverModeTheUmaskLeaves) {
    for (const mode_t umask : {0U, 022U, 077U}) {
        const std::string place = path(std::to_string(umask));
        const mode_t before = ::umask(umask);
        createDirectories(place + "/below");
        ::umask(before);
        for (const std::string& created : {place, place + "/below"}) {
            struct stat status {};
            ASSERT_EQ(::stat(created.c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777, 0777 & ~umask) << umask;
        }
    }
}

TEST_F(Files, ADirectoryInTheFilesPlaceIsAnError) {
    writeFile(path("file"), "x");
    EXPECT_EQ(errorOf([&] { createDirectories(path("file")); }),
              "create directory " + path("file: File exists"));
    EXPECT_EQ(errorOf([&] { createDirectories(path("file/below")); }),
              "create directory " + path("file/below: Not a directory"));
}

TEST_F(Files, NamesParentDirectories) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"/a/b/c", "/a/b"}, {"/a/b/", "/a"}, {"/a", "/"}, {"/", "/"},
        {"a/b", "a"},       {"a", ""},       {"", ""},    {"/a//b", "/a"},
    };
    for (const auto& [path, parent] : rows) {
        EXPECT_EQ(parentDirectory(path), parent) << path;
    }
}

TEST_F(Files, AWriteCanCreateTheDirectoryFirst) {
    writeCreatingDirectory(path("State/record"), "x");
    EXPECT_EQ(readFile(path("State/record")), "x");
    EXPECT_EQ(errorOf([&] { writeCreatingDirectory(path("State/record/below"), "x"); }),
              "create " + path("State/record/below: Not a directory"));
}

TEST_F(Files, RemovesAndSaysWhenThereIsNothing) {
    writeFile(path("file"), "x");
    remove(path("file"));
    EXPECT_FALSE(exists(path("file")));
    try {
        remove(path("file"));
        FAIL() << "removing a missing file must fail";
    } catch (const Error& error) {
        EXPECT_TRUE(error.isNoSuchFile());
        EXPECT_EQ(error.what(), "remove " + path("file: No such file or directory"));
    }
    removeIfPossible(path("file"));
}

TEST_F(Files, ReportsSizeAndExistence) {
    writeFile(path("file"), "12345");
    EXPECT_EQ(size(path("file")), 5);
    EXPECT_EQ(size(path("missing")), std::nullopt);
    EXPECT_TRUE(exists(path("file")));
    EXPECT_TRUE(exists(path("")));
    EXPECT_FALSE(exists(path("missing")));
}

TEST_F(Files, MayExistUnlessTheFileSystemSaysThatItDoesNot) {
    writeFile(path("file"), "12345");
    EXPECT_TRUE(mayExist(path("file")));
    EXPECT_FALSE(mayExist(path("missing")));
    EXPECT_FALSE(mayExist(path("file/below")));
    for (const char* const error : {"EACCES", "EIO", "ELOOP"}) {
        simulator::addFault({{"call", "stat"}, {"result", error}, {"times", 1}});
        EXPECT_TRUE(mayExist(path("missing"))) << error;
    }
}

TEST_F(Files, MovesOverAnExistingFileAndIgnoresFailures) {
    writeFile(path("from"), "new");
    writeFile(path("to"), "old");
    moveIfPossible(path("from"), path("to"));
    EXPECT_EQ(readFile(path("to")), "new");
    moveIfPossible(path("missing"), path("to"));
    EXPECT_EQ(readFile(path("to")), "new");
}

TEST_F(Files, CopiesWhatItCannotMoveToAnotherVolume) {
    writeFile(path("from"), "new");
    writeFile(path("to"), "old");
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 1}});
    moveIfPossible(path("from"), path("to"));
    EXPECT_EQ(readFile(path("to")), "new");
    EXPECT_EQ(files(), Lines{"to"});
}

TEST_F(Files, WhatCannotBeCopiedToAnotherVolumeStaysWhereItIs) {
    // Whichever call of the copy fails.
    for (const std::string call : {"open", "read", "mkostemp", "write", "fsync", "rename"}) {
        writeFile(path("from"), "new");
        writeFile(path("to"), "old");
        simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 1}});
        simulator::addFault({{"call", "fcntl"}, {"result", "EINVAL"}});  // or it needs no fsync
        simulator::addFault(
            {{"call", call}, {"result", "EIO"}, {"skip", call == "rename" ? 1 : 0}});
        moveIfPossible(path("from"), path("to"));
        simulator::clearFaults();
        EXPECT_EQ(readFile(path("from")), "new") << call;
        EXPECT_EQ(readFile(path("to")), "old") << call;
        EXPECT_EQ(files(), (Lines{"from", "to"})) << call;
    }
}

TEST_F(Files, WhatIsMissingOrTooLargeIsNotCopiedToAnotherVolume) {
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 2}});
    moveIfPossible(path("missing"), path("to"));
    writeFile(path("huge"), "");
    ASSERT_EQ(::truncate(path("huge").c_str(), 64 * 1024 * 1024 + 1), 0);
    moveIfPossible(path("huge"), path("to"));
    EXPECT_EQ(simulator::faultsMet(), 2U);
    EXPECT_EQ(files(), Lines{"huge"});
    EXPECT_EQ(size(path("huge")), 64 * 1024 * 1024 + 1);
}

TEST_F(Files, OnlyAnotherVolumeIsAReasonToCopy) {
    writeFile(path("from"), "new");
    simulator::addFault({{"call", "rename"}, {"result", "EACCES"}, {"times", 1}});
    moveIfPossible(path("from"), path("to"));
    EXPECT_EQ(files(), Lines{"from"});
}

TEST_F(Files, OpensOnlyTheStandardStreamsThatAreClosed) {
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{}, {0}, {1}, {2}, {0, 1, 2}}) {
        const pid_t child = ::fork();
        if (child == 0) {
            const int lowestFree = ::open("/dev/null", O_RDONLY);
            ::close(lowestFree);
            std::for_each(closed.begin(), closed.end(), ::close);
            openStandardStreams();
            const bool areOpen = std::all_of(closed.begin(), closed.end(), [](int stream) {
                return ::write(stream, "x", 1) == 1;
            });
            ::_exit(areOpen && ::open("/dev/null", O_RDONLY) == lowestFree ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << testing::PrintToString(closed);
    }
}

TEST_F(Files, AFileMayGetTheNumberZero) {
    writeFile(path("log"), "");
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(STDIN_FILENO);
        const bool isWritten = Appender::open(path("log"))->append("x");
        errno = ENOENT;  // left by an earlier call
        ::_exit(isWritten && read(path("log")) == "x" && lowestFree() == 0 ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Files, LeavesNoDirectoryOpenAfterAnException) {
    const int before = lowestFree();
    simulator::onCall("readdir", [] { throw std::bad_alloc(); });
    EXPECT_THROW(removeAbandonedFiles(path("")), std::bad_alloc);
    EXPECT_EQ(lowestFree(), before);
}

TEST_F(Files, RemovesOnlyTheUnfinishedFilesOfProcessesThatHaveEnded) {
    const std::string ended = std::to_string(endedProcess());
    constexpr pid_t other = 4711;
    start({{"applications", {{{"bundle", nullptr}, {"pid", other}}}}});
    const std::string running = std::to_string(other);
    const Lines kept = {
        ".record.unfinished-" + running + "-AbCdEf",  // being written
        ".record.unfinished-x-AbCdEf",
        ".record.unfinished-",
        ".record.unfinished-99999999999999999999-AbCdEf",
        ".record.unfinished--1-AbCdEf",
        ".record.unfinished-0-AbCdEf",
        ".record.unfinished-" + ended + "x-AbCdEf",
        ".record.unfinished-4294967297-AbCdEf",    // no process can have this number
        "record.unfinished-" + ended + "-AbCdEf",  // not hidden, so not ours
        "record",
    };
    for (const std::string& name : kept) {
        writeFile(path(name), "x");
    }
    writeFile(path(".record.unfinished-") + ended + "-AbCdEf", "x");
    writeFile(path(".record.unfinished-1-AbCdEf"), "x");
    // Left by a process that had this one's number before the Mac restarted.
    writeFile(path(".record.unfinished-") + std::to_string(::getpid()) + "-AbCdEf", "x");
    removeAbandonedFiles(path(""));
    removeAbandonedFiles(path("missing"));
    Lines expected = kept;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(files(), expected);
}

TEST_F(Files, LeavesTheUnfinishedFilesOfOtherUsersProcesses) {
    const std::string name = ".record.unfinished-" + std::to_string(endedProcess()) + "-AbCdEf";
    writeFile(path(name), "x");
    simulator::addFault({{"call", "kill"}, {"result", "EPERM"}});  // another user's, but alive
    removeAbandonedFiles(path(""));
    EXPECT_EQ(files(), Lines{name});
}

TEST_F(Files, AWriteThatMakesNoProgressFailsAsOnAFullDisk) {
    simulator::addFault({{"call", "write"}, {"result", {{"bytes", 0}}}});
    try {
        writeAtomically(path("record"), "x");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOSPC);
    }
    EXPECT_EQ(files(), Lines{});
}

TEST_F(Files, AppendsWhereverTheEndIs) {
    const std::string place = path("log");
    EXPECT_FALSE(Appender::open(place).has_value());
    writeFile(place, "12345");
    Appender::create(place, Appender::Existing::kept);
    auto appender = Appender::open(place);
    ASSERT_TRUE(appender.has_value());
    EXPECT_EQ(appender->offset(), 5);
    EXPECT_TRUE(appender->append("67"));
    EXPECT_EQ(appender->offset(), 7);
    ASSERT_EQ(::truncate(place.c_str(), 0), 0);  // emptied meanwhile
    EXPECT_TRUE(appender->append("x"));
    EXPECT_EQ(appender->offset(), 1);
    EXPECT_EQ(readFile(place), "x");
}

TEST_F(Files, AnAppenderThatIsAssignedGoesOnWithTheOthersFile) {
    writeFile(path("old"), "12");
    writeFile(path("new"), "12345");
    std::optional<Appender> appender = Appender::open(path("old"));
    *appender = *Appender::open(path("new"));
    EXPECT_EQ(appender->offset(), 5);
    EXPECT_TRUE(appender->append("67"));
    EXPECT_EQ(readFile(path("old")), "12");
    EXPECT_EQ(readFile(path("new")), "1234567");
}

TEST_F(Files, ClosesWhatItHasAppendedTo) {
    writeFile(path("log"), "");
    const int before = lowestFree();
    {
        std::optional<Appender> first = Appender::open(path("log"));
        const Appender second = std::move(*first);
        EXPECT_NE(lowestFree(), before);
    }
    EXPECT_EQ(lowestFree(), before);
}

TEST_F(Files, CreatesOrEmptiesWhatIsToBeAppendedTo) {
    Appender::create(path("log"), Appender::Existing::kept);
    EXPECT_EQ(readFile(path("log")), "");
    writeFile(path("log"), "12345");
    Appender::create(path("log"), Appender::Existing::emptied);
    EXPECT_EQ(readFile(path("log")), "");
    Appender::create(path("missing/log"), Appender::Existing::emptied);
    EXPECT_EQ(files(), Lines{"log"});
}

TEST_F(Files, ReadsOnlyTheBeginningOfAHugeFile) {
    // Not exposed to faults: checking each of so many calls would take long.
    const TemporaryDirectory directory;
    writeFile(directory / "huge", "");
    ASSERT_EQ(::truncate((directory / "huge").c_str(), 1'000'000'000'000), 0);
    // Read in blocks of 64 KiB, up to the first one beyond the limit.
    EXPECT_EQ(read(directory / "huge")->size(), (64U * 1024 + 64) * 1024);
}

TEST_F(Files, AppendsOnlyToFiles) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Appender::open(path("")).has_value());
    EXPECT_FALSE(Appender::open(path("pipe")).has_value());
}

}  // namespace
}  // namespace tolvaran::tests
