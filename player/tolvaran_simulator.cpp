// Plays a scenario file through the real helper and reports what the helper did.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "player/command_line.hpp"

namespace {

int terminalColumns() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

std::optional<std::string> variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
    // The helper puts something in the place of a standard stream that is closed.
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) {
        std::cout.setstate(std::ios::badbit);
    }
    return simulator::runCommandLine(
        {argv + 1, argv + argc}, std::cout, std::cerr,
        simulator::report::terminalOf(isatty(STDOUT_FILENO) == 1, terminalColumns(), variable));
}
