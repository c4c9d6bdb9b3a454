#include "restore/support/sleep.hpp"

#include <cerrno>
#include <cmath>
#include <ctime>

namespace tolvaran {

void sleepFor(double seconds) {
    constexpr double nanosecondsPerSecond = 1e9;
    const double whole = std::floor(seconds);
    struct timespec left {};
    left.tv_sec = static_cast<time_t>(whole);
    left.tv_nsec = static_cast<long>((seconds - whole) * nanosecondsPerSecond);
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
        // `left` now holds what remains of the time.
    }
}

}  // namespace tolvaran
