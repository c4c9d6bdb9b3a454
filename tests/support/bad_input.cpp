#include "tests/support/bad_input.hpp"

#include <algorithm>
#include <utility>

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// Values of every type, each with what it can pass for.
const std::vector<std::pair<json, std::vector<Holds>>>& samples() {
    static const std::vector<std::pair<json, std::vector<Holds>>> list = {
        {nullptr, {}},
        {true, {Holds::boolean}},
        {"2", {Holds::text}},
        {2, {Holds::integer, Holds::number}},
        {2.5, {Holds::number}},
        {9223372036854775808.0, {Holds::number}},
        {json::array(), {Holds::list}},
        {json::object(), {Holds::object}},
    };
    return list;
}

bool passesFor(const std::vector<Holds>& types, Holds wanted) {
    return std::find(types.begin(), types.end(), wanted) != types.end();
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// `good` with one more member, whose value is `text` as it stands.
std::string withIgnoredKey(const std::string& good, const std::string& text) {
    return good.substr(0, good.size() - 1) + ",\"ignored\":" + text + "}";
}

}  // namespace

std::vector<BadInput> truncations(const std::string& good) {
    std::vector<BadInput> result;
    for (std::size_t length = 0; length < good.size(); ++length) {
        result.push_back(
            {"cut off after " + std::to_string(length) + " bytes", good.substr(0, length)});
    }
    return result;
}

std::vector<BadInput> wrongFields(const json& good, const std::vector<RequiredField>& fields) {
    std::vector<BadInput> result;
    for (const RequiredField& field : fields) {
        const json::json_pointer pointer(field.pointer);
        json parent = good.at(pointer.parent_pointer());
        if (parent.is_object()) {
            parent.erase(pointer.back());
            json without = good;
            without[pointer.parent_pointer()] = parent;
            result.push_back({field.pointer + " missing", without.dump()});
        }
        for (const auto& [value, types] : samples()) {
            if (!passesFor(types, field.holds)) {
                json changed = good;
                changed[pointer] = value;
                result.push_back({field.pointer + " is " + value.dump(), changed.dump()});
            }
        }
    }
    return result;
}

std::vector<BadInput> wrongText(const std::string& good) {
    constexpr std::size_t tooDeep = 100'000;
    return {
        {"nothing but blanks", " \n\t "},
        {"null", "null"},
        {"a number", "2"},
        {"a list", "[" + good + "]"},
        {"two values", good + good},
        {"a comment", good + "// end"},
        {"a comma too many", good.substr(0, good.size() - 1) + ",}"},
        {"zero bytes", std::string(64, '\0')},
        {"a zero byte at the end", good + std::string(1, '\0')},
        {"UTF-16", std::string("\xff\xfe{\0}\0", 6)},
        {"a byte that no UTF-8 has", withIgnoredKey(good, "\"\xff\"")},
        {"an unfinished UTF-8 sequence", withIgnoredKey(good, "\"\xe2\x82\"")},
        {"an overlong UTF-8 sequence", withIgnoredKey(good, "\"\xc0\xaf\"")},
        {"a surrogate in UTF-8", withIgnoredKey(good, "\"\xed\xa0\x80\"")},
        {"a lone surrogate", withIgnoredKey(good, R"("\ud800")")},
        {"a line end within a text", withIgnoredKey(good, "\"\n\"")},
        {"NaN", withIgnoredKey(good, "NaN")},
        {"Infinity", withIgnoredKey(good, "-Infinity")},
        {"nested lists", withIgnoredKey(good, repeated("[", tooDeep) + repeated("]", tooDeep))},
        {"nested objects",
         withIgnoredKey(good, repeated("{\"a\":", tooDeep) + "1" + repeated("}", tooDeep))},
        {"lists that never end", repeated("[", tooDeep)},
    };
}

std::string padded(const std::string& good, std::size_t size) {
    return withIgnoredKey(good, '"' + std::string(size, ' ') + '"');
}

}  // namespace tolvaran::tests
