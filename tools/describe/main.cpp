// The program tolvaran_describe: writes the `mac` object of the Mac it runs on to standard output,
// and what it had to leave out to standard error.
#include <iostream>

#include "tools/describe/describe.hpp"

int main(int argc, char**) {
    if (argc != 1) {
        std::cerr << "usage: tolvaran_describe >mac.json\n";
        return 2;
    }
    return tolvaran::describe::writeDescription(std::cout, std::cerr);
}
