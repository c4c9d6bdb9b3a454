// Runs the helper's restore and main applications as real processes, in real time, on one
// directory. One main application after another starts, changes things and is killed at a random
// moment; the helper restores over and over, and now and then it is stopped for a while or killed.
// Whenever all main applications have ended and the helper has run, the user's Mac must be as it
// was before the first of them started.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <string_view>
#include <thread>

#include "helper/restore_sequence.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/host/host_calls.hpp"
#include "simulator/loop/clock.hpp"
#include "tests/faults/main_application_parts.hpp"
#include "tests/faults/shared_mac.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// What the processes share.
struct Board {
    std::atomic<bool> mainApplicationRuns = false;
    std::atomic<unsigned> runsEnded = 0;
};

class RealProcesses : public testing::Test {
  protected:
    RealProcesses() {
        simulator::clock::restart(simulator::clock::Kind::realTime);
        mac_.join();
        startHelper();
    }

    ~RealProcesses() override {
        end(helper_);
        ::munmap(board_, sizeof(Board));
    }

    int upTo(int most) { return std::uniform_int_distribution(0, most)(random_); }

    void sleepUpTo(int microseconds) {
        std::this_thread::sleep_for(std::chrono::microseconds(upTo(microseconds)));
    }

    /// A main application that lives for a random time of a few milliseconds.
    void runMainApplication() {
        if (upTo(9) == 0) {
            favourite_ = random_() % parts().size();
        }
        const auto choices = static_cast<unsigned>(random_());
        board_->mainApplicationRuns = true;
        pid_t pid = start([&] { changeThings(choices); });
        if (upTo(9) == 0) {
            stop(helper_);
            if (upTo(1) == 0) {
                // The next one starts before the helper goes on.
                sleepUpTo(6000);
                end(pid);
                pid = start([&] { changeThings(choices + 1); });
            }
        }
        sleepUpTo(6000);
        if (upTo(9) == 0) {
            stop(pid);
            __real_kill(helper_, SIGCONT);
            sleepUpTo(6000);
            __real_kill(pid, SIGCONT);
            sleepUpTo(3000);
        }
        end(pid);
        board_->mainApplicationRuns = false;
        __real_kill(helper_, SIGCONT);
        // So that the next one starts while the helper is restoring what this one left.
        sleepUpTo(8000);
    }

    void restartHelper() {
        end(helper_);
        startHelper();
    }

    /// Checks that the helper restores the Mac to what it was before the first main application
    /// started, with nothing left over, within a few runs.
    void checkMac() {
        constexpr int fewest = 3;  // the one under way now, and two whole ones
        constexpr int most = 10;
        for (int runs = 0; runs < fewest || (runs < most && !isRestored()); ++runs) {
            awaitRun();
        }
        mac_.alone([&] { EXPECT_EQ(json::diff(before_, settings()), json::array()); });
        EXPECT_EQ(pendingRecords(), Lines{});
        EXPECT_EQ(unfinishedRecords(), Lines{});
        const auto kept = keptRecords();
        for (const auto& [signature, count] : kept_) {
            EXPECT_TRUE(kept.contains(signature) && kept.at(signature) >= count) << signature;
        }
        kept_ = kept;
    }

    Lines takeLog() { return process_.takeLog(); }

  private:
    bool isRestored() {
        bool hasSettings = false;
        mac_.alone([&] { hasSettings = settings() == before_; });
        return hasSettings && pendingRecords().empty() && unfinishedRecords().empty();
    }

    /// Waits until the helper has ended a run.
    void awaitRun() const {
        const unsigned before = board_->runsEnded;
        while (board_->runsEnded == before) {
            ASSERT_EQ(::waitpid(helper_, nullptr, WNOHANG), 0) << "the helper has ended";
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }

    template <typename Work>
    pid_t start(Work work) const {
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            forgetProcessWideValues();
            work();
            ::_exit(0);
        }
        return pid;
    }

    static void end(pid_t pid) {
        __real_kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }

    void startHelper() {
        helper_ = start([&] {
            mac_.join();
            while (true) {
                restoreOnce();
                mac_.alone([] {});
                ++board_->runsEnded;
            }
        });
    }

    void restoreOnce() const {
        // The helper learns which applications run before its run begins.
        const files::Recovery begun(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
        if (!board_->mainApplicationRuns) {
            files::removeAbandonedFiles(TolvaranPaths::stateDir());
            runRestoreSequence("safety-tick", std::nullopt);
        }
    }

    /// Stops a process between its calls to the Mac, so that it does not keep others from the Mac.
    void stop(pid_t pid) {
        mac_.alone([&] {
            __real_kill(pid, SIGSTOP);
            ::waitpid(pid, nullptr, WUNTRACED);
        });
    }

    void changeThings(unsigned choices) {
        mac_.join();
        std::minstd_rand random(choices);
        for (int n = 0; n < 3; ++n) {
            const Part& part = parts()[random() % 2 == 0 ? favourite_ : random() % parts().size()];
            part.take();
            if (random() % 2 == 0) {
                part.giveBack();
            }
        }
        mac_.alone([] {});
    }

    HelperProcess process_{usersMac()};
    json before_ = settings();
    TemporaryDirectory directory_;
    SharedMac mac_{directory_.path()};
    Board* board_ = new (::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Board;
    std::minstd_rand random_{1};
    std::map<std::string, std::size_t> kept_;  // at the last check
    // What successive main applications do most, so that they meet in the same records.
    std::size_t favourite_ = 0;
    pid_t helper_ = 0;
};

TEST(KeptRecords, AreNotFewerAfterARenamedSetHasMergedWithItsNamesake) {
    const HelperProcess process(usersMac());
    const Part& names = *std::ranges::find(parts(), std::string_view("names"), &Part::name);
    names.take();
    names.giveBack();
    names.take();
    const auto before = keptRecords();
    names.giveBack();
    EXPECT_EQ(keptRecords(), before);
}

TEST_F(RealProcesses, LoseNothing) {
    const int mainApplications = effort() == Effort::all ? 10000 : 400;
    for (int n = 1; n <= mainApplications && !HasFailure(); ++n) {
        runMainApplication();
        if (upTo(19) == 0) {
            restartHelper();
        }
        if (upTo(3) == 0) {
            checkMac();
            EXPECT_FALSE(HasFailure()) << "after main application " << n;
        }
    }
    if (HasFailure()) {
        const Lines log = takeLog();
        for (std::size_t n = log.size() - std::min<std::size_t>(log.size(), 60); n < log.size();
             ++n) {
            ADD_FAILURE() << log[n];
        }
    }
    addStatistics({{"killed main applications", mainApplications}});
}

}  // namespace
}  // namespace tolvaran::tests
