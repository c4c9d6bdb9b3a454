#include "tests/faults/duet.hpp"

#include <gtest/gtest.h>

#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <thread>

#include "restore/support/process_wide.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran::tests {
namespace {

constexpr std::size_t number(Actor actor) {
    return actor == Actor::helper ? 0 : 1;
}

class Stage {
  public:
    explicit Stage(const std::vector<Turn>& turns) : turns_(turns.begin(), turns.end()) {
        turns_.push_back({.actor = Actor::helper});
        turns_.push_back({.actor = Actor::mainApplication});
        begin();
    }

    /// Performs one actor's part to its end, running only during its turns.
    void perform(Actor actor, const std::function<void()>& part) {
        std::unique_lock lock(changing_);
        const PlayedProcess played(static_cast<int>(number(actor)));
        awaitTurn(lock, actor);
        try {
            part();
        } catch (const std::bad_alloc&) {
            // A killed process's calls create nothing.
            EXPECT_TRUE(isKilled_[number(actor)]) << "out of memory";
        }
        forgetProcessWideValues();
        hasEnded_[number(actor)] = true;
        pass();
    }

    /// At the start of every call: passes the turn on if it is over.
    nlohmann::json call(const std::string& function) {
        const Actor actor = PlayedProcess::current() == 0 ? Actor::helper : Actor::mainApplication;
        std::size_t& count = counts_[number(actor)];
        ++count;
        if (isKilled_[number(actor)]) {
            return ofKilledProcess(function);
        }
        while (turns_.front().calls == 0) {
            isKilled_[number(actor)] |= turns_.front().endsKilled;
            pass();
            std::unique_lock lock(changing_, std::adopt_lock);
            awaitTurn(lock, actor);
            lock.release();  // the mutex stays locked
        }
        --turns_.front().calls;
        return isKilled_[number(actor)] ? ofKilledProcess(function) : nlohmann::json();
    }

    CallCounts counts() const { return {.helper = counts_[0], .mainApplication = counts_[1]}; }

  private:
    /// Its calls have no effect, but the end of a process closes its files.
    static nlohmann::json ofKilledProcess(const std::string& function) {
        const bool closes = function == "close" || function == "closedir";
        return closes ? nlohmann::json() : nlohmann::json{{"effect", false}};
    }

    void awaitTurn(std::unique_lock<std::mutex>& lock, Actor actor) {
        passed_.wait(lock, [&] { return turns_.front().actor == actor; });
        begin();
    }

    void begin() {
        simulator::setProcessID(turns_.front().actor == Actor::helper ? helperID
                                                                      : mainApplicationID);
    }

    /// Ends the turn, and those of actors that have ended.
    void pass() {
        turns_.pop_front();
        while (!turns_.empty() && hasEnded_[number(turns_.front().actor)]) {
            turns_.pop_front();
        }
        if (!turns_.empty()) {
            passed_.notify_all();
        }
    }

    std::deque<Turn> turns_;
    std::array<std::size_t, 2> counts_{};
    std::array<bool, 2> hasEnded_{};
    std::array<bool, 2> isKilled_{};
    std::mutex changing_;  // held by the process that has the turn
    std::condition_variable passed_;
};

}  // namespace

CallCounts play(const Duet& duet, const std::vector<Turn>& turns) {
    Stage stage(turns);
    simulator::decideCalls([&](const std::string& function) { return stage.call(function); });
    std::thread mainApplication(
        [&] { stage.perform(Actor::mainApplication, duet.mainApplication); });
    stage.perform(Actor::helper, duet.helper);
    mainApplication.join();
    simulator::decideCalls(nullptr);
    simulator::setProcessID(std::nullopt);
    return stage.counts();
}

}  // namespace tolvaran::tests
