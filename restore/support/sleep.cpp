#include "restore/support/sleep.hpp"

#include <cerrno>
#include <cmath>
#include <ctime>

namespace tolvaran {
namespace {

constexpr int maximumInterruptions = 1000;

}  // namespace

void sleepFor(double seconds) {
    constexpr double nanosecondsPerSecond = 1e9;
    const double whole = std::floor(seconds);
    struct timespec left {};
    left.tv_sec = static_cast<time_t>(whole);
    left.tv_nsec = static_cast<long>((seconds - whole) * nanosecondsPerSecond);
    // After an interruption `left` holds the remaining time. An endless stream of signals must not
    // keep the restore from going on.
    for (int interruptions = 0; interruptions < maximumInterruptions; ++interruptions) {
        if (::nanosleep(&left, &left) == 0 || errno != EINTR) {
            return;
        }
    }
}

}  // namespace tolvaran
