// The program tolvaran_describe: how a user's Mac stands with the helper, and a report of it.
#include <sys/sysctl.h>

#include <iostream>

#include "tools/describe/command_line.hpp"

namespace {

/// What the system says of itself under this name; "unknown" if it says nothing.
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
