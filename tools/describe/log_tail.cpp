#include "tools/describe/log_tail.hpp"

#include <algorithm>

#include "report/text.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"

namespace tolvaran::describe {
namespace {

namespace report = simulator::report;

std::string without(std::string text, const std::string& part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
        text.erase(at, part.size());
    }
    return text;
}

/// Puts the last lines of a file before the lines that are there already.
void prepend(const std::string& name, std::size_t most, std::vector<std::string>& lines) {
    const std::string text = files::read(TolvaranPaths::logsPath(name)).value_or("");
    const std::vector<std::string> older = report::lines(text);
    const std::size_t count = std::min(older.size(), most - lines.size());
    lines.insert(lines.begin(), older.end() - static_cast<std::ptrdiff_t>(count), older.end());
}

}  // namespace

std::vector<std::string> logTail(std::size_t most) {
    std::vector<std::string> lines;
    for (const char* const name : {"tolvaran-helper.log", "tolvaran-helper.log.prev"}) {
        prepend(name, most, lines);
    }
    const std::string directory = TolvaranPaths::applicationSupportDir() + "/";
    for (std::string& line : lines) {
        line = without(report::utf8(report::codePoints(line)), directory);
    }
    return lines;
}

}  // namespace tolvaran::describe
