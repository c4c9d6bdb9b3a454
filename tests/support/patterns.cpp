#include "tests/support/patterns.hpp"

#include <map>
#include <regex>

namespace tolvaran::tests {
namespace {

const std::regex& compiled(const std::string& pattern) {
    static std::map<std::string, std::regex> known;
    const auto found = known.find(pattern);
    return found != known.end() ? found->second
                                : known.emplace(pattern, std::regex(pattern)).first->second;
}

}  // namespace

bool matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, compiled(pattern));
}

std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& format) {
    return std::regex_replace(text, compiled(pattern), format);
}

std::vector<std::string> firstGroups(const std::string& text, const std::string& pattern) {
    std::vector<std::string> groups;
    for (std::sregex_iterator match(text.begin(), text.end(), compiled(pattern)), end; match != end;
         ++match) {
        groups.push_back((*match)[1]);
    }
    return groups;
}

}  // namespace tolvaran::tests
