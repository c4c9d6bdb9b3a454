#include "simulator/player/command_line.hpp"

#include <iomanip>
#include <optional>

#include "simulator/player/player.hpp"

namespace simulator {
namespace {

using nlohmann::json;

constexpr const char* usage =
    "usage: tolvaran_simulator [--json] [--root DIR] SCENARIO.json\n"
    "  --json      print the result as JSON instead of a summary\n"
    "  --root DIR  keep the application-support directory and the logs under DIR\n";

struct Command {
    std::string scenario;
    bool printsJson = false;
    PlayOptions options;
};

/// None when the arguments make no sense.
std::optional<Command> readArguments(const std::vector<std::string>& arguments) {
    Command command;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--json") {
            command.printsJson = true;
        } else if (*argument == "--root" && argument + 1 != arguments.end()) {
            command.options.root = *++argument;
        } else if (command.scenario.empty() && !argument->empty() && argument->front() != '-') {
            command.scenario = *argument;
        } else {
            return std::nullopt;
        }
    }
    return command.scenario.empty() ? std::nullopt : std::optional(command);
}

std::string shown(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string shownArguments(const json& arguments) {
    std::string text;
    for (const json& argument : arguments) {
        text += (text.empty() ? "" : ", ") + shown(argument);
    }
    return "(" + text + ")";
}

void printSummary(const Scenario& scenario, const Outcome& outcome, std::ostream& out) {
    const json& result = outcome.result;
    out << scenario.name << ": " << static_cast<double>(scenario.until) / clock::second << " s, "
        << result["log"].size() << " log lines, " << result["calls"].size() << " calls, "
        << result["notifications"].size() << " notifications\n";
    for (const json& call : result["calls"]) {
        out << std::fixed << std::setprecision(3) << std::setw(12) << call["at"].get<double>()
            << "  " << call["call"].get<std::string>() << shownArguments(call["args"]);
        if (!call["result"].is_null()) {
            out << " -> " << shown(call["result"]);
        }
        out << "\n";
    }
    if (scenario.expect.empty()) {
        out << "nothing was expected\n";
    } else if (outcome.failures.empty()) {
        out << "everything was as expected\n";
    } else {
        out << outcome.failures.size() << " expectations failed\n";
    }
}

int playCommand(const Command& command, std::ostream& out, std::ostream& errors) {
    const Scenario scenario = loadScenario(command.scenario);
    PlayOptions options = command.options;
    options.observes = true;
    const Outcome outcome = play(scenario, options);
    if (command.printsJson) {
        out << outcome.result.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    } else {
        printSummary(scenario, outcome, out);
    }
    for (const std::string& failure : outcome.failures) {
        errors << failure << "\n";
    }
    return outcome.failures.empty() ? 0 : 1;
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out,
                   std::ostream& errors) {
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
        return playCommand(*command, out, errors);
    } catch (const ScenarioError& error) {
        errors << command->scenario << ": " << error.what() << "\n";
        return 2;
    }
}

}  // namespace simulator
