// Two processes that change one record: what one of them does may happen between any two calls of
// the other.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace files;

/// Adds a letter to the record, unless it is there.
void add(const std::string& path, char letter) {
    update(path, [letter](const std::optional<std::string>& content) -> Change {
        const std::string before = content.value_or("");
        if (before.find(letter) != std::string::npos) {
            return {.kind = Change::Kind::reliedOn};
        }
        return {.kind = Change::Kind::replacement, .content = before + letter};
    });
}

/// Removes a letter from the record, and the record with its last letter.
void take(const std::string& path, char letter) {
    update(path, [letter](const std::optional<std::string>& content) -> Change {
        std::string rest = content.value_or("");
        if (std::erase(rest, letter) == 0) {
            return {};
        }
        return {.kind = rest.empty() ? Change::Kind::removal : Change::Kind::replacement,
                .content = rest};
    });
}

/// The record's name while the process of this ID removes it.
std::string asideBy(pid_t pid) {
    return ".record.removing-" + std::to_string(pid) + "-17";
}

class FilesAtOnce : public testing::Test {
  protected:
    void SetUp() override {
        simulator::reset();
        simulator::exposeToFaults(directory_.path());
    }
    void TearDown() override { simulator::reset(); }

    using Work = std::function<void(const std::string& path)>;

    /// Has another process do `other` during each call of `own` in turn, on a record of this
    /// content (none: on no record), and gives `check` what is left.
    void forEveryCall(const std::optional<std::string>& before, const Work& own, const Work& other,
                      const std::function<void(const std::optional<std::string>& after)>& check) {
        for (std::size_t k = 0;; ++k) {
            SCOPED_TRACE("during call " + std::to_string(k));
            const TemporaryDirectory directory;
            const std::string path = directory / "record";
            if (before) {
                writeFile(path, *before);
            }
            simulator::reset();
            simulator::exposeToFaults(directory.path());
            const auto count = duringCall(k, [&] { other(path); });
            own(path);
            simulator::decideCalls(nullptr);
            if (*count <= k) {
                EXPECT_GT(k, 3U);
                return;
            }
            const std::optional<std::string> after = readFile(path);
            EXPECT_EQ(directory.list(), after ? Lines{"record"} : Lines{});
            check(after);
        }
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_ / "record";
};

bool has(const std::optional<std::string>& content, char letter) {
    return content && content->find(letter) != std::string::npos;
}

TEST_F(FilesAtOnce, NoAdditionIsLost) {
    for (const std::optional<std::string>& before :
         std::vector<std::optional<std::string>>{std::nullopt, "", "x"}) {
        forEveryCall(
            before, [](const auto& path) { add(path, 'a'); },
            [](const auto& path) { add(path, 'b'); },
            [&](const auto& after) {
                EXPECT_TRUE(has(after, 'a') && has(after, 'b')) << after.value_or("none");
                EXPECT_EQ(has(after, 'x'), before == "x");
            });
    }
}

TEST_F(FilesAtOnce, WhatIsTakenOutDoesNotComeBack) {
    forEveryCall(
        "ab", [](const auto& path) { take(path, 'a'); }, [](const auto& path) { take(path, 'b'); },
        [](const auto& after) { EXPECT_EQ(after, std::nullopt); });
    forEveryCall(
        "a", [](const auto& path) { add(path, 'b'); }, [](const auto& path) { take(path, 'a'); },
        [](const auto& after) { EXPECT_EQ(after, "b"); });
    forEveryCall(
        "a", [](const auto& path) { take(path, 'a'); }, [](const auto& path) { add(path, 'b'); },
        [](const auto& after) { EXPECT_EQ(after, "b"); });
}

TEST_F(FilesAtOnce, ARemovalByOneIsNotUndoneByAnUpdateOfTheOther) {
    forEveryCall(
        "a", [](const auto& path) { add(path, 'b'); }, [](const auto& path) { remove(path); },
        [](const auto& after) { EXPECT_TRUE(!after || after == "b") << after.value_or("none"); });
}

TEST_F(FilesAtOnce, AWriteFromMemoryStaysWhole) {
    forEveryCall(
        "a", [](const auto& path) { writeAtomically(path, "b"); },
        [](const auto& path) { writeAtomically(path, "c"); },
        [](const auto& after) {
            EXPECT_TRUE(after == "b" || after == "c") << after.value_or("none");
        });
    forEveryCall(
        "a", [](const auto& path) { add(path, 'b'); },
        [](const auto& path) { writeAtomically(path, "c"); },
        [](const auto& after) {
            EXPECT_TRUE(after == "c" || after == "cb") << after.value_or("none");
        });
}

/// A recovery that ends by removing the record.
void recover(const std::string& path) {
    const Recovery recovery(path, Recovery::Scope::record);
    static_cast<void>(read(path));
    static_cast<void>(removeIfPossible(path));
}

/// The first calls, before a recovery has seen which version of the record to expect.
constexpr int callsBeforeItHasSeen = 2;

TEST_F(FilesAtOnce, ARecoveryRemovesOnlyWhatItHasFound) {
    for (const Work& other : std::vector<Work>{
             [](const auto& path) { writeAtomically(path, "a"); },
             [](const auto& path) { add(path, 'a'); },  // which relies on what is there
         }) {
        forEveryCall("a", recover, other, [k = 0](const auto& after) mutable {
            const bool mayBeGone = k++ < callsBeforeItHasSeen;
            EXPECT_TRUE(after == "a" || (mayBeGone && !after)) << after.value_or("none");
        });
    }
}

/// A recovery that ends by replacing the record.
void recoverByReplacing(const std::string& path) {
    const Recovery recovery(path, Recovery::Scope::record);
    try {
        writeAtomically(path, "c");
    } catch (const Error& error) {
        EXPECT_TRUE(error.isChangedByAnother());
        EXPECT_EQ(error.what(), "replace " + path + ": another process has changed it");
    }
}

TEST_F(FilesAtOnce, ARecoveryWritesOnlyOverTheRecordThatItFound) {
    // The second relies on what is there.
    const std::pair<Work, std::string> rows[] = {
        {[](const auto& path) { writeAtomically(path, "b"); }, "b"},
        {[](const auto& path) { add(path, 'a'); }, "a"},
    };
    for (const auto& [other, kept] : rows) {
        forEveryCall("a", recoverByReplacing, other,
                     [kept = kept, k = 0](const auto& after) mutable {
                         const bool mayBeReplaced = k++ < callsBeforeItHasSeen;
                         EXPECT_TRUE(after == kept || (kept == "a" && after == "ca") ||
                                     (mayBeReplaced && after == "c"))
                             << after.value_or("none");
                     });
    }
}

TEST_F(FilesAtOnce, AProcessKilledHalfwayDoesNotBlockOthers) {
    std::size_t calls = 1;
    for (std::size_t k = 0; k < calls; ++k) {
        for (const Work& work :
             std::vector<Work>{[](const auto& path) { add(path, 'b'); },
                               [](const auto& path) { take(path, 'a'); }, recover,
                               [](const auto& path) { add(path, 'a'); }}) {
            const TemporaryDirectory directory;
            const std::string path = directory / "record";
            writeFile(path, "a");
            const pid_t child = ::fork();
            if (child == 0) {
                simulator::reset();
                simulator::exposeToFaults(directory.path());
                std::size_t count = 0;
                simulator::decideCalls([&](const std::string&) {
                    if (count++ == k) {
                        ::_exit(1);
                    }
                    return nlohmann::json();
                });
                work(path);
                ::_exit(0);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            calls = std::max(calls, status == 0 ? calls : k + 2);
            simulator::reset();
            removeAbandonedFiles(directory.path());
            add(path, 'c');
            EXPECT_TRUE(has(readFile(path), 'c')) << k;
            EXPECT_EQ(directory.list(), Lines{"record"}) << k;
        }
    }
    EXPECT_GT(calls, 10U);
}

TEST_F(FilesAtOnce, AnOlderMainApplicationsUnfinishedFileIsLeftAlone) {
    const std::string name = ".record.unfinished-4711-AbCdEf";
    writeFile(directory_ / name, "x");
    writeAtomically(path_, "a");
    add(path_, 'b');
    EXPECT_EQ(directory_.list(), (Lines{name, "record"}));
}

TEST_F(FilesAtOnce, ARecordThatAKilledProcessMovedAsideIsPutBackUnlessANewerOneIsThere) {
    for (const bool hasHardLinks : {true, false}) {
        SCOPED_TRACE(hasHardLinks ? "with hard links" : "without hard links");
        if (!hasHardLinks) {
            simulator::addFault({{"call", "link"}, {"result", "ENOTSUP"}});
        }
        std::filesystem::remove(path_);
        const std::string aside = asideBy(endedProcess());
        for (const char* const content : {"old", "older"}) {
            writeFile(directory_ / aside, content);
            removeAbandonedFiles(directory_.path());
            EXPECT_EQ(readFile(path_), "old");
        }
        EXPECT_EQ(directory_.list(), Lines{"record"});
    }
}

TEST_F(FilesAtOnce, APowerCutCannotLoseARecordThatIsPutBack) {
    writeFile(directory_ / asideBy(endedProcess()), "old");
    Lines changes;
    simulator::observeFileCalls([&](const simulator::FileCall& call) {
        if (call.function == "link" || call.function == "unlink" || call.function == "fcntl") {
            changes.emplace_back(call.function);
        }
    });
    removeAbandonedFiles(directory_.path());
    EXPECT_EQ(changes, (Lines{"link", "fcntl", "unlink"}));
}

TEST_F(FilesAtOnce, ARecordThatCannotBeMovedAsideIsRemovedWhereItIs) {
    writeFile(path_, "a");
    const Recovery recovery(path_, Recovery::Scope::record);
    simulator::addFault({{"call", "rename"}, {"result", "EACCES"}});
    remove(path_);
    EXPECT_EQ(simulator::faultsMet(), 1U);
    EXPECT_EQ(directory_.list(), Lines{});
    EXPECT_FALSE(isChangedByAnother(path_));
}

TEST_F(FilesAtOnce, AWriterThatHasLookedBeforeARemovalIsOvertakenFirst) {
    writeFile(path_, "a");
    const std::string claim = directory_ / ".record.unfinished-1-claim-AbCdEf";
    writeFile(claim, "b");
    Lines removed;
    simulator::observeFileCalls([&](const simulator::FileCall& call) {
        if (call.function == "unlink") {
            removed.emplace_back(call.path);
        }
    });
    remove(path_);
    EXPECT_EQ(removed, (Lines{claim, path_}));
}

TEST_F(FilesAtOnce, AWriterThatLooksDuringARemovalIsOvertaken) {
    writeFile(path_, "a");
    simulator::onCall("unlink",
                      [&] { writeFile(directory_ / ".record.unfinished-1-claim-AbCdEf", "b"); });
    remove(path_);
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(FilesAtOnce, ARecoveryOfADirectoryBeginsByRemovingAbandonedFiles) {
    writeFile(path_, "a");
    writeFile(directory_ / (".record.unfinished-" + std::to_string(endedProcess()) + "-claim-AbC"),
              "b");
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    EXPECT_EQ(directory_.list(), Lines{"record"});
}

TEST_F(FilesAtOnce, ARecoveryListsTheDirectoryAgainOnlyIfItHasCleanedUp) {
    writeFile(directory_ / asideBy(endedProcess()), "a");
    {
        const Recovery all(directory_.path(), Recovery::Scope::directory);
        EXPECT_EQ(readFile(path_), "a");
        EXPECT_FALSE(isChangedByAnother(path_));
    }
    int listings = 0;
    simulator::onCall("opendir", [&] { ++listings; });
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    EXPECT_EQ(listings, 1);
}

TEST_F(FilesAtOnce, ARecordThatIsPutBackDuringItsRemovalIsRemovedAgain) {
    writeFile(path_, "a");
    const Recovery recovery(path_, Recovery::Scope::record);
    bool isPutBack = false;
    simulator::onCall("unlink", [&] {
        const std::string aside = directory_ / asideBy(::getpid());
        const std::string first = aside.substr(0, aside.rfind('-') + 1) + "0";
        if (!isPutBack) {
            std::filesystem::create_hard_link(first, path_);
        }
        isPutBack = true;
    });
    remove(path_);
    EXPECT_TRUE(isPutBack);
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(FilesAtOnce, ARecordThatIsThereIsNotTakenForRemoved) {
    writeFile(path_, "a");
    const Recovery recovery(path_, Recovery::Scope::record);
    simulator::addFault({{"call", "unlink"}, {"result", "ENOENT"}, {"times", 1}});
    try {
        remove(path_);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EIO);
    }
    EXPECT_EQ(readFile(path_), "a");
}

TEST_F(FilesAtOnce, NoProcessTriesForever) {
    simulator::addFault({{"call", "rename"}, {"result", "ENOENT"}});
    const double start = simulator::now();
    try {
        writeAtomically(path_, "x");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EBUSY);
    }
    EXPECT_LE(simulator::now() - start, 0.11);
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(FilesAtOnce, WhatCannotBeTouchedIsRewritten) {
    writeFile(path_, "a");
    simulator::addFault({{"call", "futimens"}, {"result", "EPERM"}});
    const Recovery recovery(path_, Recovery::Scope::record);
    inAnotherProcess([&] { add(path_, 'a'); });
    EXPECT_EQ(simulator::faultsMet(), 1U);
    EXPECT_TRUE(isChangedByAnother(path_));
    EXPECT_EQ(readFile(path_), "a");
}

TEST_F(FilesAtOnce, ARecoveryKnowsItsOwnChanges) {
    writeFile(path_, "a");
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    add(path_, 'b');
    add(path_, 'b');
    EXPECT_FALSE(isChangedByAnother(path_));
    const Recovery inner(path_, Recovery::Scope::record);
    remove(path_);
    EXPECT_FALSE(isChangedByAnother(path_));
    writeAtomically(path_, "c");
    EXPECT_FALSE(isChangedByAnother(path_));
    inAnotherProcess([&] { remove(path_); });
    EXPECT_TRUE(isChangedByAnother(path_));
    EXPECT_THROW(writeAtomically(path_, "d"), Error);
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(FilesAtOnce, ARecoveryKeepsSixtyFourFilesOpenAtMost) {
    for (int number = 100; number < 165; ++number) {
        writeFile(directory_ / ("record" + std::to_string(number)), "a");
    }
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator entries("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    };
    const auto before = openDescriptors();
    {
        const Recovery all(directory_.path(), Recovery::Scope::directory);
        EXPECT_EQ(openDescriptors() - before, 64);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FilesAtOnce, ARecoveryThatRunsOutOfMemoryCoversNothing) {
    writeFile(path_, "a");
    simulator::onCall("flock", [] { throw std::bad_alloc(); });
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    EXPECT_FALSE(Recovery::expected(path_).has_value());
    EXPECT_FALSE(Recovery::expected(directory_ / "new").has_value());
}

TEST_F(FilesAtOnce, ADirectoryThatCannotBeOpenedShowsNoOtherProcess) {
    writeFile(path_, "a");
    simulator::addFault({{"call", "open"}, {"result", "EMFILE"}});
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    simulator::clearFaults();
    EXPECT_FALSE(all.metAnother());
    EXPECT_FALSE(isChangedByAnother(path_));
}

TEST_F(FilesAtOnce, ARecoveryThatBeganEarlierDecides) {
    const Recovery all(directory_.path(), Recovery::Scope::directory);
    inAnotherProcess([&] { writeAtomically(path_, "b"); });
    const Recovery inner(path_, Recovery::Scope::record);
    EXPECT_TRUE(isChangedByAnother(path_));
    EXPECT_TRUE(removeIfPossible(path_));
    EXPECT_EQ(readFile(path_), "b");
    EXPECT_FALSE(isChangedByAnother(directory_ / "below/record"));
}

TEST_F(FilesAtOnce, ANewRecordIsKeptIfTheOneToRemoveHasGone) {
    writeFile(path_, "a");
    const Recovery recovery(path_, Recovery::Scope::record);
    // An older main application, which replaces a record by removing it first.
    simulator::decideCalls([&](const std::string& function) {
        if (function == "rename") {
            std::filesystem::remove(path_);
        } else if (readFile(path_) == std::nullopt) {
            writeFile(path_, "b");
        }
        return nlohmann::json();
    });
    EXPECT_TRUE(removeIfPossible(path_));
    simulator::decideCalls(nullptr);
    EXPECT_EQ(readFile(path_), "b");
}

TEST_F(FilesAtOnce, ARecoveryCoversEveryRecordOfALargeDirectory) {
    constexpr int count = 200;
    for (int n = 0; n < count; ++n) {
        writeFile(directory_ / ("record" + std::to_string(n)), "a");
        // A dangling link counts as missing.
        std::filesystem::create_symlink("nowhere", directory_ / ("link" + std::to_string(n)));
    }
    const std::string changed = directory_ / "record77";
    const Recovery recovery(directory_.path(), Recovery::Scope::directory);
    inAnotherProcess([&] { writeAtomically(changed, "b"); });
    for (int n = 0; n < count; ++n) {
        const std::string path = directory_ / ("record" + std::to_string(n));
        EXPECT_EQ(removeIfPossible(path), path == changed) << n;
        const std::string link = directory_ / ("link" + std::to_string(n));
        EXPECT_FALSE(isChangedByAnother(link));
        std::filesystem::remove(link);
    }
    EXPECT_EQ(directory_.list(), Lines{"record77"});
}

TEST_F(FilesAtOnce, ARecordThatAnotherProcessHasMovedAsideIsNotMissing) {
    const std::vector<std::function<bool(const std::string& path)>> looks = {
        [](const auto& path) { return read(path) == "a"; },
        [](const auto& path) { return exists(path); },
        [](const auto& path) { return mayExist(path); },
        [](const auto& path) { return !Version::at(path).isAt(path + ".not"); },
    };
    for (const auto& look : looks) {
        const TemporaryDirectory directory;
        const std::string path = directory / "record";
        simulator::reset();
        simulator::addFault({{"call", "kill"}, {"result", "EPERM"}});  // another user's, but alive
        const std::string aside = asideBy(endedProcess());
        writeFile(directory / aside, "a");
        {
            // A recovery goes by what it found when it began.
            const Recovery recovery(directory.path(), Recovery::Scope::directory);
            look(path);
            EXPECT_EQ(directory.list(), Lines{aside});
        }
        EXPECT_TRUE(look(path));
        EXPECT_EQ(readFile(path), "a");
        EXPECT_EQ(directory.list(), Lines{"record"});
    }
}

TEST_F(FilesAtOnce, WhatThisProcessItselfHasMovedAsideStaysThere) {
    const std::string aside = asideBy(::getpid());
    writeFile(directory_ / aside, "a");
    EXPECT_FALSE(exists(path_));
    EXPECT_EQ(directory_.list(), Lines{aside});
}

TEST_F(FilesAtOnce, ARemovalThatAReaderHasUndoneIsRepeated) {
    for (const Work& other :
         std::vector<Work>{[](const auto& path) { static_cast<void>(read(path)); },
                           [](const auto& path) { static_cast<void>(exists(path)); }}) {
        forEveryCall("a", recover, other,
                     [](const auto& after) { EXPECT_EQ(after, std::nullopt); });
    }
}

/// Whether a recovery of the directory that begins now may remove the record.
bool mayRemove(const std::string& directory) {
    const Recovery recovery(directory, Recovery::Scope::directory);
    return !isChangedByAnother(directory + "/record") && !removeIfPossible(directory + "/record");
}

/// Changes the record in a process that then goes on, while `work` is done in this one.
void besideAnother(const std::function<void()>& change, const std::function<void()>& work) {
    std::thread([&] {
        const PlayedProcess played(2);
        change();
        std::thread(work).join();
        forgetProcessWideValues();
    }).join();
}

TEST_F(FilesAtOnce, ARecoveryLeavesAloneWhatAProcessThatStillRunsHasWritten) {
    const auto checkIsKept = [&] { EXPECT_FALSE(mayRemove(directory_.path())); };
    besideAnother([&] { writeAtomically(path_, "new"); }, checkIsKept);
    besideAnother(
        [&] { update(path_, [](const auto&) { return Change{.kind = Change::Kind::reliedOn}; }); },
        checkIsKept);
    EXPECT_EQ(readFile(path_), "new");
    EXPECT_TRUE(mayRemove(directory_.path()));
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(FilesAtOnce, AProcessThatOnlyLooksDoesNotHinderARecovery) {
    writeFile(path_, "old");
    besideAnother([&] { update(path_, [](const auto&) { return Change{}; }); },
                  [&] { EXPECT_TRUE(mayRemove(directory_.path())); });
}

TEST_F(FilesAtOnce, ARecoveryMayChangeWhatItsOwnProcessHasWrittenBefore) {
    writeAtomically(path_, "own");
    EXPECT_TRUE(mayRemove(directory_.path()));
    // The process still shows its presence.
    writeAtomically(path_, "own");
    bool isKept = false;
    inAnotherProcess([&] { isKept = !mayRemove(directory_.path()); });
    EXPECT_TRUE(isKept);
    forgetProcessWideValues();
}

TEST_F(FilesAtOnce, WithoutLocksARecoveryGoesByTheRecordsAlone) {
    for (const char* const failure : {"ENOTSUP", "ENOLCK"}) {
        simulator::addFault({{"call", "flock"}, {"result", failure}});
        besideAnother([&] { writeAtomically(path_, "new"); },
                      [&] { EXPECT_TRUE(mayRemove(directory_.path())) << failure; });
        simulator::clearFaults();
    }
}

TEST_F(FilesAtOnce, AProcessThatCouldNotShowItsPresenceTriesAgainWithTheNextChange) {
    simulator::addFault({{"call", "flock"}, {"result", "EWOULDBLOCK"}, {"times", 2}});
    besideAnother(
        [&] {
            writeAtomically(path_, "new");
            writeAtomically(path_, "newer");
        },
        [&] { EXPECT_FALSE(mayRemove(directory_.path())); });
}

TEST_F(FilesAtOnce, AProcessShowsItsPresenceBeforeAndAfterItTouchesARecord) {
    const auto checkIsKept = [&] { EXPECT_FALSE(mayRemove(directory_.path())); };
    writeFile(path_, "a");
    // After, in case another process was asking the first time.
    simulator::addFault({{"call", "flock"}, {"result", "EWOULDBLOCK"}, {"times", 1}});
    besideAnother([&] { add(path_, 'a'); }, checkIsKept);
    // Before, so that a recovery that begins meanwhile notices it.
    simulator::onCall("futimens", [&] { inAnotherProcess(checkIsKept); });
    add(path_, 'a');
    EXPECT_EQ(readFile(path_), "a");
    forgetProcessWideValues();
}

/// When each pause of a process that is always overtaken ends.
std::vector<double> pauses(pid_t pid) {
    const TemporaryDirectory directory;
    simulator::reset();
    simulator::exposeToFaults(directory.path());
    simulator::setProcessID(pid);
    simulator::addFault({{"call", "rename"}, {"result", "ENOENT"}});
    std::vector<double> ends;
    simulator::onCall("rename", [&] { ends.push_back(simulator::now()); });
    EXPECT_THROW(writeAtomically(directory / "record", "x"), Error);
    simulator::setProcessID(std::nullopt);
    return ends;
}

TEST_F(FilesAtOnce, DifferentProcessesPauseDifferently) {
    EXPECT_NE(pauses(4000), pauses(4001));
    EXPECT_NE(pauses(4000), pauses(4007));
    EXPECT_NE(pauses(4000), pauses(4049));
}

}  // namespace
}  // namespace tolvaran::tests
