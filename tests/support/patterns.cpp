#include "tests/support/patterns.hpp"

#include <map>
#include <regex>

namespace tolvaran::tests {

bool matches(const std::string& text, const std::string& pattern) {
    static std::map<std::string, std::regex> compiled;
    auto known = compiled.find(pattern);
    if (known == compiled.end()) {
        known = compiled.emplace(pattern, std::regex(pattern)).first;
    }
    return std::regex_match(text, known->second);
}

}  // namespace tolvaran::tests
