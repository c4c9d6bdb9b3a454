// Plays a scenario file through the real helper and reports what the helper did.

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

#include "player/command_line.hpp"

int main(int argc, char** argv) {
    // The helper opens /dev/null in place of a closed standard stream.
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) {
        std::cout.setstate(std::ios::badbit);
    }
    return simulator::runCommandLine({argv + 1, argv + argc}, std::cout, std::cerr,
                                     simulator::report::terminalOfStandardOutput());
}
