// The program tolvaran_describe on hosts other than a Mac: it describes a simulated Mac from a
// file, with the helper's files where the environment says. This makes the way from a user's Mac to
// a replay testable from outside.
#include <fstream>
#include <iostream>

#include "simulator/simulator.hpp"
#include "tools/describe/command_line.hpp"

int main(int argc, char** argv) {
    if (argc < 3 || std::string(argv[1]) != "--mac") {
        std::cerr
            << "usage: tolvaran_describe --mac FILE.json ARGUMENT...\n"
               "  FILE.json holds the mac object of a scenario; the other arguments are those "
               "of a Mac:\n";
        tolvaran::describe::runCommandLine({"--help"}, {}, std::cerr, std::cerr);
        return 2;
    }
    try {
        std::ifstream file(argv[2]);
        simulator::reset(nlohmann::json::parse(file));
    } catch (const std::exception& error) {
        std::cerr << argv[2] << ": " << error.what() << "\n";
        return 2;
    }
    return tolvaran::describe::runCommandLine(
        {argv + 3, argv + argc}, {"simulated", simulator::report::terminalOfStandardOutput()},
        std::cout, std::cerr);
}
