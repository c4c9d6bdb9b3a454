// Locks of directories, by which the helper learns that a process is at work on the records.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "tests/contract/the_mac.hpp"

namespace {

class Locks : public Contract {
  protected:
    Locks() { EXPECT_NE(::mkdtemp(directory_.data()), nullptr); }
    ~Locks() override { ::rmdir(directory_.c_str()); }

    int open() const { return ::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }

    /// A process that holds a shared lock until it is ended.
    struct Holder {
        pid_t pid;
        int lifeline;  // it ends when this is closed
    };

    Holder start() const {
        std::array<int, 2> answer{};
        std::array<int, 2> lifeline{};
        EXPECT_EQ(::pipe(answer.data()), 0);
        EXPECT_EQ(::pipe(lifeline.data()), 0);
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::close(lifeline[1]);
            char byte = ::flock(open(), LOCK_SH | LOCK_NB) == 0 ? 'y' : 'n';
            const bool isTold = ::write(answer[1], &byte, 1) == 1;
            ::_exit(isTold && ::read(lifeline[0], &byte, 1) == 0 ? 0 : 1);
        }
        char hasLock = 'n';
        EXPECT_EQ(::read(answer[0], &hasLock, 1), 1);
        EXPECT_EQ(hasLock, 'y');
        ::close(answer[0]);
        ::close(answer[1]);
        ::close(lifeline[0]);
        return {.pid = pid, .lifeline = lifeline[1]};
    }

    static void end(const Holder& holder) {
        ::close(holder.lifeline);
        ::waitpid(holder.pid, nullptr, 0);
    }

  private:
    std::string directory_ = "/tmp/tolvaran-locks-XXXXXX";
};

// Documented.
TEST_F(Locks, OfADirectoryAreSharedAndKeepAnExclusiveOneAwayWithoutWaiting) {
    const Holder first = start();
    const int own = open();
    EXPECT_EQ(::flock(own, LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_EQ(::flock(own, LOCK_SH | LOCK_NB), 0);
    EXPECT_EQ(::flock(own, LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
    end(first);
    EXPECT_EQ(::flock(own, LOCK_EX | LOCK_NB), 0);
    ::close(own);
}

// Documented.
TEST_F(Locks, EndWithTheirProcess) {
    end(start());
    const int own = open();
    EXPECT_EQ(::flock(own, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(::flock(own, LOCK_SH | LOCK_NB), 0);
    EXPECT_EQ(::flock(own, LOCK_UN), 0);
    ::close(own);
}

}  // namespace
