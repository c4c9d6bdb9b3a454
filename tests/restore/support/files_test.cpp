#include "restore/support/files.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::files {
namespace {

using tests::readFile;
using tests::TemporaryDirectory;
using tests::writeFile;

std::string errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

/// The ID of a process that has ended.
pid_t endedProcess() {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(0);
    }
    ::waitpid(pid, nullptr, 0);
    return pid;
}

TEST(Files, WritesAndReadsBack) {
    const TemporaryDirectory directory;
    const std::string path = directory / "record";
    writeAtomically(path, "first");
    writeAtomically(path, std::string("s\0cond", 6));
    EXPECT_EQ(read(path), std::string("s\0cond", 6));
    EXPECT_EQ(directory.list(), std::vector<std::string>{"record"});
}

TEST(Files, ReadsNothingButRegularFiles) {
    const TemporaryDirectory directory;
    ASSERT_EQ(::mkfifo((directory / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("loop", (directory / "loop").c_str()), 0);
    for (const std::string name : {"missing", "pipe", "loop", "."}) {
        EXPECT_EQ(read(directory / name), std::nullopt) << name;
    }
    EXPECT_EQ(read("/dev/zero"), std::nullopt);
    EXPECT_EQ(read(""), std::nullopt);
}

TEST(Files, ReadsAnEmptyFileAsEmptyContent) {
    const TemporaryDirectory directory;
    writeFile(directory / "empty", "");
    EXPECT_EQ(read(directory / "empty"), "");
}

TEST(Files, ReadsLargeFilesWhole) {
    const TemporaryDirectory directory;
    const std::string content(1'000'003, 'x');
    writeFile(directory / "large", content);
    EXPECT_EQ(read(directory / "large"), content);
}

TEST(Files, AFailedWriteLeavesTheOldFileAndNothingElse) {
    const TemporaryDirectory directory;
    writeFile(directory / "target/inside", "old");  // a directory cannot be replaced by a file
    EXPECT_EQ(errorOf([&] { writeAtomically(directory / "target", "new"); }),
              "rename " + directory / "target: Is a directory");
    EXPECT_EQ(directory.list(), (std::vector<std::string>{"target/", "target/inside"}));
}

TEST(Files, ADirectoryThatCannotBeFlushedIsNoFailureOfTheWrite) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    // The file itself is flushed with the first call; the directory with neither of the next two.
    simulator::addFault({{"call", "fcntl"}, {"result", "EINVAL"}, {"skip", 1}});
    simulator::addFault({{"call", "fsync"}, {"result", "EINVAL"}});
    writeAtomically(directory / "record", "content");
    EXPECT_EQ(simulator::faultsMet(), 2U);
    simulator::reset();
    EXPECT_EQ(readFile(directory / "record"), "content");
}

TEST(Files, AFileThatCannotBeFlushedIsNotPutInPlace) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    writeFile(directory / "record", "old");
    for (const std::string call : {"fcntl", "fsync"}) {
        simulator::addFault({{"call", call}, {"result", "EIO"}});
    }
    EXPECT_EQ(errorOf([&] { writeAtomically(directory / "record", "new"); }),
              "flush " + directory / "record: Input/output error");
    simulator::reset();
    EXPECT_EQ(readFile(directory / "record"), "old");
    EXPECT_EQ(directory.list(), std::vector<std::string>{"record"});
}

TEST(Files, AWriteIntoAMissingDirectoryFails) {
    const TemporaryDirectory directory;
    EXPECT_EQ(errorOf([&] { writeAtomically(directory / "no/file", "x"); }),
              "create " + directory / "no/file: No such file or directory");
}

TEST(Files, AWriteReplacesASymbolicLinkInsteadOfFollowingIt) {
    const TemporaryDirectory directory;
    writeFile(directory / "elsewhere", "untouched");
    ASSERT_EQ(::symlink("elsewhere", (directory / "link").c_str()), 0);
    writeAtomically(directory / "link", "new");
    EXPECT_EQ(readFile(directory / "elsewhere"), "untouched");
    EXPECT_EQ(readFile(directory / "link"), "new");
}

TEST(Files, CreatesDirectoriesToAnyDepthAndTwice) {
    const TemporaryDirectory directory;
    createDirectories(directory / "a/b/c/");
    createDirectories(directory / "a/b/c");
    createParentDirectory(directory / "a/d/file");
    EXPECT_EQ(directory.list(), (std::vector<std::string>{"a/", "a/b/", "a/b/c/", "a/d/"}));
}

TEST(Files, CreatesDirectoriesWithWhateverModeTheUmaskLeaves) {
    const TemporaryDirectory directory;
    for (const mode_t umask : {0U, 022U, 077U}) {
        const std::string path = directory / std::to_string(umask);
        const mode_t before = ::umask(umask);
        createDirectories(path + "/below");
        ::umask(before);
        for (const std::string& created : {path, path + "/below"}) {
            struct stat status {};
            ASSERT_EQ(::stat(created.c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777, 0777 & ~umask) << umask;
        }
    }
}

TEST(Files, ADirectoryWhereAFileStandsIsAnError) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "x");
    EXPECT_EQ(errorOf([&] { createDirectories(directory / "file"); }),
              "create directory " + directory / "file: File exists");
    EXPECT_EQ(errorOf([&] { createDirectories(directory / "file/below"); }),
              "create directory " + directory / "file/below: Not a directory");
}

TEST(Files, NamesParentDirectories) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"/a/b/c", "/a/b"}, {"/a/b/", "/a"}, {"/a", "/"}, {"/", "/"},
        {"a/b", "a"},       {"a", ""},       {"", ""},    {"/a//b", "/a"},
    };
    for (const auto& [path, parent] : rows) {
        EXPECT_EQ(parentDirectory(path), parent) << path;
    }
}

TEST(Files, AWriteCanCreateTheDirectoryFirst) {
    const TemporaryDirectory directory;
    writeCreatingDirectory(directory / "State/record", "x");
    EXPECT_EQ(readFile(directory / "State/record"), "x");
    EXPECT_EQ(errorOf([&] { writeCreatingDirectory(directory / "State/record/below", "x"); }),
              "create " + directory / "State/record/below: Not a directory");
}

TEST(Files, RemovesAndSaysWhenThereIsNothing) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "x");
    remove(directory / "file");
    EXPECT_FALSE(exists(directory / "file"));
    try {
        remove(directory / "file");
        FAIL() << "removing a missing file must fail";
    } catch (const Error& error) {
        EXPECT_TRUE(error.isNoSuchFile());
        EXPECT_EQ(error.what(), "remove " + directory / "file: No such file or directory");
    }
    removeIfPossible(directory / "file");
}

TEST(Files, TellsSizeAndExistence) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "12345");
    EXPECT_EQ(size(directory / "file"), 5);
    EXPECT_EQ(size(directory / "missing"), std::nullopt);
    EXPECT_TRUE(exists(directory / "file"));
    EXPECT_TRUE(exists(directory.path()));
    EXPECT_FALSE(exists(directory / "missing"));
}

TEST(Files, MayExistUnlessTheFileSystemSaysThatItDoesNot) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "12345");
    EXPECT_TRUE(mayExist(directory / "file"));
    EXPECT_FALSE(mayExist(directory / "missing"));
    EXPECT_FALSE(mayExist(directory / "file/below"));
    simulator::exposeToFaults(directory.path());
    for (const char* const error : {"EACCES", "EIO", "ELOOP"}) {
        simulator::addFault({{"call", "stat"}, {"result", error}, {"times", 1}});
        EXPECT_TRUE(mayExist(directory / "missing")) << error;
    }
    simulator::reset();
}

TEST(Files, MovesOverAnExistingFileAndIgnoresFailures) {
    const TemporaryDirectory directory;
    writeFile(directory / "from", "new");
    writeFile(directory / "to", "old");
    moveIfPossible(directory / "from", directory / "to");
    EXPECT_EQ(readFile(directory / "to"), "new");
    moveIfPossible(directory / "missing", directory / "to");
    EXPECT_EQ(readFile(directory / "to"), "new");
}

TEST(Files, CopiesWhatItCannotMoveToAnotherVolume) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    writeFile(directory / "from", "new");
    writeFile(directory / "to", "old");
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 1}});
    moveIfPossible(directory / "from", directory / "to");
    simulator::reset();
    EXPECT_EQ(readFile(directory / "to"), "new");
    EXPECT_EQ(directory.list(), std::vector<std::string>{"to"});
}

TEST(Files, WhatCannotBeCopiedToAnotherVolumeStaysWhereItIs) {
    const TemporaryDirectory directory;
    // Whatever the copy fails at.
    for (const std::string call : {"open", "read", "mkostemp", "write", "fsync", "rename"}) {
        simulator::reset();
        simulator::exposeToFaults(directory.path());
        writeFile(directory / "from", "new");
        writeFile(directory / "to", "old");
        simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 1}});
        simulator::addFault({{"call", "fcntl"}, {"result", "EINVAL"}});  // or it needs no fsync
        simulator::addFault(
            {{"call", call}, {"result", "EIO"}, {"skip", call == "rename" ? 1 : 0}});
        moveIfPossible(directory / "from", directory / "to");
        simulator::reset();
        EXPECT_EQ(readFile(directory / "from"), "new") << call;
        EXPECT_EQ(readFile(directory / "to"), "old") << call;
        EXPECT_EQ(directory.list(), (std::vector<std::string>{"from", "to"})) << call;
    }
}

TEST(Files, WhatIsMissingOrTooLargeIsNotCopiedToAnotherVolume) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 2}});
    moveIfPossible(directory / "missing", directory / "to");
    writeFile(directory / "huge", "");
    ASSERT_EQ(::truncate((directory / "huge").c_str(), 65 * 1024 * 1024), 0);
    moveIfPossible(directory / "huge", directory / "to");
    EXPECT_EQ(simulator::faultsMet(), 2U);
    simulator::reset();
    EXPECT_EQ(directory.list(), std::vector<std::string>{"huge"});
    EXPECT_EQ(size(directory / "huge"), 65 * 1024 * 1024);
}

TEST(Files, OnlyAnotherVolumeIsAReasonToCopy) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    writeFile(directory / "from", "new");
    simulator::addFault({{"call", "rename"}, {"result", "EACCES"}, {"times", 1}});
    moveIfPossible(directory / "from", directory / "to");
    simulator::reset();
    EXPECT_EQ(directory.list(), std::vector<std::string>{"from"});
}

TEST(Files, OpensTheStandardStreamsThatAreClosed) {
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1, 2}}) {
        const pid_t child = ::fork();
        if (child == 0) {
            std::for_each(closed.begin(), closed.end(), ::close);
            openStandardStreams();
            const bool areOpen = std::all_of(closed.begin(), closed.end(), [](int stream) {
                return ::write(stream, "x", 1) == 1;
            });
            ::_exit(areOpen && ::open("/dev/null", O_RDONLY) > STDERR_FILENO ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << testing::PrintToString(closed);
    }
}

TEST(Files, RemovesOnlyTheUnfinishedFilesOfProcessesThatHaveEnded) {
    const TemporaryDirectory directory;
    const std::string ended = std::to_string(endedProcess());
    constexpr pid_t other = 4711;
    simulator::reset({{"applications", {{{"bundle", nullptr}, {"pid", other}}}}});
    const std::string running = std::to_string(other);
    const std::vector<std::string> kept = {
        ".record.unfinished-" + running + "-AbCdEf",  // somebody is writing it
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
        writeFile(directory / name, "x");
    }
    writeFile(directory / ".record.unfinished-" + ended + "-AbCdEf", "x");
    // Left by a process that had this one's number before the Mac restarted.
    writeFile(directory / ".record.unfinished-" + std::to_string(::getpid()) + "-AbCdEf", "x");
    removeAbandonedFiles(directory.path());
    removeAbandonedFiles(directory / "missing");
    simulator::reset();
    std::vector<std::string> expected = kept;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(directory.list(), expected);
}

TEST(Files, LeavesTheUnfinishedFilesOfProcessesThatItMayNotAskFor) {
    const TemporaryDirectory directory;
    const std::string name = ".record.unfinished-" + std::to_string(endedProcess()) + "-AbCdEf";
    writeFile(directory / name, "x");
    simulator::reset();
    simulator::addFault({{"call", "kill"}, {"result", "EPERM"}});  // another user's, but alive
    removeAbandonedFiles(directory.path());
    simulator::reset();
    EXPECT_EQ(directory.list(), std::vector<std::string>{name});
}

TEST(Files, AWriteThatMakesNoProgressFailsAsOnAFullDisk) {
    const TemporaryDirectory directory;
    simulator::exposeToFaults(directory.path());
    simulator::addFault({{"call", "write"}, {"result", {{"bytes", 0}}}});
    try {
        writeAtomically(directory / "record", "x");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOSPC);
    }
    simulator::reset();
    EXPECT_EQ(directory.list(), std::vector<std::string>{});
}

TEST(Files, AppendsWhereverTheEndIs) {
    const TemporaryDirectory directory;
    const std::string path = directory / "log";
    EXPECT_FALSE(Appender::open(path).has_value());
    writeFile(path, "12345");
    Appender::create(path, Appender::Existing::kept);
    auto appender = Appender::open(path);
    ASSERT_TRUE(appender.has_value());
    EXPECT_EQ(appender->offset(), 5);
    EXPECT_TRUE(appender->append("67"));
    EXPECT_EQ(appender->offset(), 7);
    ASSERT_EQ(::truncate(path.c_str(), 1), 0);  // somebody emptied it meanwhile
    EXPECT_TRUE(appender->append("x"));
    EXPECT_EQ(appender->offset(), 2);
    EXPECT_EQ(readFile(path), "1x");
}

TEST(Files, CreatesOrEmptiesWhatIsToBeAppendedTo) {
    const TemporaryDirectory directory;
    Appender::create(directory / "log", Appender::Existing::kept);
    EXPECT_EQ(readFile(directory / "log"), "");
    writeFile(directory / "log", "12345");
    Appender::create(directory / "log", Appender::Existing::emptied);
    EXPECT_EQ(readFile(directory / "log"), "");
    Appender::create(directory / "missing/log", Appender::Existing::emptied);
    EXPECT_EQ(directory.list(), std::vector<std::string>{"log"});
}

TEST(Files, ReadsOnlyTheBeginningOfAnEndlessFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "huge", "");
    ASSERT_EQ(::truncate((directory / "huge").c_str(), 1'000'000'000'000), 0);
    const std::size_t size = read(directory / "huge")->size();
    EXPECT_GE(size, 64U * 1024 * 1024);
    EXPECT_LT(size, 65U * 1024 * 1024);
}

TEST(Files, AppendsToNothingButFiles) {
    const TemporaryDirectory directory;
    ASSERT_EQ(::mkfifo((directory / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Appender::open(directory.path()).has_value());
    EXPECT_FALSE(Appender::open(directory / "pipe").has_value());
}

}  // namespace
}  // namespace tolvaran::files
