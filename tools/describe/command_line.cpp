#include "tools/describe/command_line.hpp"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/workspace.hpp"
#include "report/text.hpp"
#include "restore/support/files.hpp"
#include "tools/describe/anonymous.hpp"
#include "tools/describe/describe.hpp"
#include "tools/describe/health_text.hpp"
#include "tools/describe/json_text.hpp"
#include "tools/describe/report.hpp"

namespace tolvaran::describe {
namespace {

constexpr const char* usage =
    "usage: tolvaran_describe --health [--json]\n"
    "       tolvaran_describe --report FILE.json [--anonymous] [--all-settings]\n"
    "       tolvaran_describe\n"
    "  --health            say whether the helper lives and what waits to be put back\n"
    "  --json              say it as JSON\n"
    "  --report FILE.json  write a report of this Mac, which can be played as a scenario\n"
    "  --anonymous         give displays other names and serial numbers in it, and leave the "
    "user's "
    "name out\n"
    "  --all-settings      put all of Tolvaran's settings into it, not only those that the helper "
    "reads\n"
    "  Without arguments, write the scenario's mac object alone to standard output.\n";

struct Command {
    bool asksForHealth = false;
    bool printsJSON = false;
    std::optional<std::string> report;
    bool isAnonymous = false;
    Settings settings = Settings::thoseRead;
};

/// None if the arguments make no sense.
std::optional<Command> readArguments(const std::vector<std::string>& arguments) {
    Command command;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--report" && argument + 1 != arguments.end() && !command.report) {
            command.report = *++argument;
        } else if (*argument == "--all-settings") {
            command.settings = Settings::all;
        } else if (*argument == "--anonymous") {
            command.isAnonymous = true;
        } else if (*argument == "--health") {
            command.asksForHealth = true;
        } else if (*argument == "--json") {
            command.printsJSON = true;
        } else {
            return std::nullopt;
        }
    }
    const bool isForReport = command.settings == Settings::all || command.isAnonymous;
    const bool isSensible = arguments.empty() ||
                            (command.asksForHealth && !command.report && !isForReport) ||
                            (command.report && !command.asksForHealth && !command.printsJSON);
    return isSensible ? std::optional(command) : std::nullopt;
}

void list(const std::string& title, const std::vector<std::string>& lines, std::ostream& out) {
    if (!lines.empty()) {
        out << title << "\n";
    }
    for (const std::string& line : lines) {
        out << "  " << simulator::report::oneLine(line) << "\n";
    }
}

/// Makes the report anonymous. False, after a line to `errors`, if that is not possible.
bool makeAnonymous(Report& report, std::ostream& errors) {
    const char* const home = std::getenv("HOME");
    Anonymous anonymous = anonymized(report.scenario, home != nullptr ? home : "");
    if (anonymous.isLeaky) {
        errors << "the report cannot be made anonymous; nothing is written\n";
        return false;
    }
    report.scenario = std::move(anonymous.scenario);
    std::ranges::copy(anonymous.notes, std::back_inserter(report.notes));
    return true;
}

int writeReport(const Command& command, const Host& host, std::ostream& out, std::ostream& errors) {
    Report report = makeReport(host.macOS, command.settings);
    if (command.isAnonymous && !makeAnonymous(report, errors)) {
        return 1;
    }
    try {
        files::writeAtomically(*command.report, written(report.scenario) + "\n");
    } catch (const files::Error& error) {
        errors << simulator::report::oneLine(error.what()) << "\n";
        return 1;
    }
    out << *command.report << " is written. ";
    if (command.isAnonymous) {
        out << "Names, serial numbers and UUIDs in it are made up.\n";
    } else {
        list("What it says about you and your Mac:", personalContent(report.scenario), out);
    }
    list("What it leaves out:", report.notes, out);
    return 0;
}

/// Whether the process exists and belongs to the user, as the helper does.
bool processExists(pid_t pid) {
    return ::kill(pid, 0) == 0;
}

int tellHealth(const Command& command, const Host& host, std::ostream& out) {
    const Health health = checkHealth(processExists);
    if (command.printsJSON) {
        out << written(healthJSON(health)) << "\n";
    } else {
        out << healthText(health, host.terminal);
    }
    return health.exitStatus();
}

int run(const std::vector<std::string>& arguments, const Host& host, std::ostream& out,
        std::ostream& errors) {
    const std::optional<Command> command = readArguments(arguments);
    if (!command) {
        errors << usage;
        return 2;
    }
    if (command->asksForHealth) {
        return tellHealth(*command, host, out);
    }
    return command->report ? writeReport(*command, host, out, errors)
                           : writeDescription(out, errors);
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, const Host& host, std::ostream& out,
                   std::ostream& errors) {
    if (arguments == std::vector<std::string>{"--help"}) {
        out << usage;
        return 0;
    }
    int status = 0;
    workspace::withAutoreleasePool([&] { status = run(arguments, host, out, errors); });
    return out.flush() ? status : 1;
}

}  // namespace tolvaran::describe
