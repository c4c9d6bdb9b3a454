// The program tolvaran_describe on hosts that are no Mac: describes the simulated one that a file
// describes, so that the way there and back can be tried from outside.
#include <fstream>
#include <iostream>

#include "simulator/simulator.hpp"
#include "tools/describe/describe.hpp"

int main(int argc, char** argv) {
    if (argc != 3 || std::string(argv[1]) != "--mac") {
        std::cerr << "usage: tolvaran_describe --mac FILE.json\n"
                     "  FILE.json holds the mac object of a scenario; on a Mac there are no "
                     "arguments\n";
        return 2;
    }
    try {
        std::ifstream file(argv[2]);
        simulator::reset(nlohmann::json::parse(file));
    } catch (const std::exception& error) {
        std::cerr << argv[2] << ": " << error.what() << "\n";
        return 2;
    }
    return tolvaran::describe::writeDescription(std::cout, std::cerr);
}
