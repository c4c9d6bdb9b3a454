// Plays a scenario file through the real helper and reports what the helper did.

#include <iostream>

#include "simulator/player/command_line.hpp"

int main(int argc, char** argv) {
    return simulator::runCommandLine({argv + 1, argv + argc}, std::cout, std::cerr);
}
