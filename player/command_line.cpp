#include "player/command_line.hpp"

#include <exception>
#include <fstream>
#include <iomanip>
#include <optional>

#include "player/player.hpp"
#include "player/reduction.hpp"
#include "report/chronicle.hpp"
#include "report/page.hpp"
#include "report/text.hpp"

namespace simulator {
namespace {

using nlohmann::json;

constexpr const char* usage =
    "usage: tolvaran_simulator [--json] [--report FILE.html] [--root DIR] SCENARIO.json\n"
    "       tolvaran_simulator --reduce SCENARIO.json [--keep TEXT] -o SMALL.json\n"
    "  --json              print the result as JSON instead of a summary\n"
    "  --report FILE.html  write a page that shows what happened\n"
    "  --root DIR          keep the application-support directory and the logs under DIR\n"
    "  --reduce            write the smallest scenario in which the first expectation that fails "
    "still fails\n"
    "  --keep TEXT         write the smallest one in which a log line or call with this text still "
    "appears\n";

struct Command {
    std::string scenario;
    bool printsJson = false;
    std::optional<std::string> report;
    PlayOptions options;
    bool reduces = false;
    std::string kept;  // what a reduced scenario must still show; empty: a failed expectation
    std::string reducedTo;

    bool makesSense() const {
        const bool asksForReduction = reduces && !reducedTo.empty();
        const bool asksForPlay = !reduces && reducedTo.empty() && kept.empty();
        const bool hasPlayOptions = printsJson || report || options.root;
        return !scenario.empty() && (asksForPlay || (asksForReduction && !hasPlayOptions));
    }
};

/// None if the arguments make no sense.
std::optional<Command> readArguments(const std::vector<std::string>& arguments) {
    Command command;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--json") {
            command.printsJson = true;
        } else if (*argument == "--root" && argument + 1 != arguments.end()) {
            command.options.root = *++argument;
        } else if (*argument == "--report" && argument + 1 != arguments.end()) {
            command.report = *++argument;
        } else if (*argument == "--reduce") {
            command.reduces = true;
        } else if (*argument == "--keep" && argument + 1 != arguments.end()) {
            command.kept = *++argument;
        } else if (*argument == "-o" && argument + 1 != arguments.end()) {
            command.reducedTo = *++argument;
        } else if (command.scenario.empty() && !argument->empty() && argument->front() != '-') {
            command.scenario = *argument;
        } else {
            return std::nullopt;
        }
    }
    return command.makesSense() ? std::optional(command) : std::nullopt;
}

void printCalls(const json& calls, std::ostream& out) {
    for (const json& call : calls) {
        out << std::fixed << std::setprecision(3) << std::setw(12) << call["at"].get<double>()
            << "  " << report::plainCallText(call) << "\n";
    }
}

void printSummary(const Scenario& scenario, const Outcome& outcome,
                  const report::Terminal& terminal, std::ostream& out) {
    const json& result = outcome.result;
    out << report::oneLine(scenario.name) << ": "
        << static_cast<double>(scenario.until) / clock::second << " s, " << result["log"].size()
        << " log lines, " << result["calls"].size() << " calls, " << result["notifications"].size()
        << " notifications\n";
    printCalls(result["calls"], out);
    if (terminal.isTerminal) {
        out << "\n" << report::characterPicture(result, terminal) << "\n";
    }
    out << report::displayTable(result);
    if (scenario.expect.empty()) {
        out << "nothing was expected\n";
    } else if (outcome.failures.empty()) {
        out << "everything was as expected\n";
    } else {
        out << outcome.failures.size() << " expectations failed\n";
    }
}

/// Writes the page; false, after a line to `errors`, if that failed.
bool writeReport(const std::string& path, const json& result, std::ostream& errors) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << report::page(result);
    file.close();
    if (!file) {
        errors << path << ": the report cannot be written\n";
    }
    return static_cast<bool>(file);
}

int playCommand(const Command& command, const report::Terminal& terminal, std::ostream& out,
                std::ostream& errors) {
    const Scenario scenario = loadScenario(command.scenario);
    PlayOptions options = command.options;
    options.observes = true;
    const Outcome outcome = play(scenario, options);
    if (command.printsJson) {
        out << outcome.result.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    } else {
        printSummary(scenario, outcome, terminal, out);
    }
    for (const std::string& failure : outcome.failures) {
        errors << report::oneLine(failure) << "\n";
    }
    const bool isReported = !command.report || writeReport(*command.report, outcome.result, errors);
    return outcome.failures.empty() && isReported ? 0 : 1;
}

int reduceCommand(const Command& command, std::ostream& out, std::ostream& errors) {
    const json document = loadDocument(command.scenario);
    readScenario(document, "", "");  // throws what is wrong with it
    const std::string failure = command.kept.empty() ? firstFailure(document) : "";
    const auto shows = [&](const json& scenario) {
        return command.kept.empty() ? !failure.empty() && firstFailure(scenario) == failure
                                    : showsText(scenario, command.kept);
    };
    if (!shows(document)) {
        errors << (command.kept.empty() ? "no expectation fails"
                                        : "no log line or call has this text")
               << "\n";
        return 1;
    }
    const Reduction reduction = reduced(document, shows);
    std::ofstream file(command.reducedTo, std::ios::binary | std::ios::trunc);
    file << reduction.scenario.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    file.close();
    if (!file) {
        errors << command.reducedTo << ": cannot be written\n";
        return 1;
    }
    out << "reduced from " << document.dump().size() << " to " << reduction.scenario.dump().size()
        << " bytes in " << report::counted(reduction.plays, "play", "plays") << "\n";
    return 0;
}

int run(const std::vector<std::string>& arguments, const report::Terminal& terminal,
        std::ostream& out, std::ostream& errors) {
    if (arguments == std::vector<std::string>{"--help"}) {
        out << usage;
        return 0;
    }
    const std::optional<Command> command = readArguments(arguments);
    if (!command) {
        errors << usage;
        return 2;
    }
    try {
        return command->reduces ? reduceCommand(*command, out, errors)
                                : playCommand(*command, terminal, out, errors);
    } catch (const std::exception& error) {
        errors << report::oneLine(command->scenario + ": " + error.what()) << "\n";
        return 2;
    }
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                   std::ostream& errors, const report::Terminal& terminal) {
    const int status = run(arguments, terminal, out, errors);
    if (!out.flush()) {
        errors << "standard output cannot be written\n";
        return 2;
    }
    return status;
}

}  // namespace simulator
