// The program tolvaran_describe: the state of a user's Mac, and a report of it.
#include <sys/sysctl.h>

#include <iostream>

#include "tools/describe/command_line.hpp"

namespace {

/// The system's value under this name; "unknown" if there is none.
std::string systemText(const char* name) {
    char text[64] = {};
    std::size_t size = sizeof text - 1;
    return sysctlbyname(name, text, &size, nullptr, 0) == 0 ? text : "unknown";
}

}  // namespace

int main(int argc, char** argv) {
    const std::string version =
        systemText("kern.osproductversion") + " (" + systemText("kern.osversion") + ")";
    return tolvaran::describe::runCommandLine(
        {argv + 1, argv + argc}, {version, simulator::report::terminalOfStandardOutput()},
        std::cout, std::cerr);
}
