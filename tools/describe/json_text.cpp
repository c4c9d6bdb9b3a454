#include "tools/describe/json_text.hpp"

#include <algorithm>

namespace tolvaran::describe {
namespace {

using nlohmann::json;

constexpr int deepestJSON = 60;  // levels; the document around it adds a few

bool isOneLine(const json& value) {
    const bool isListOfTexts = value.is_array() && std::ranges::any_of(value, [](const json& part) {
                                   return part.is_string();
                               });
    return !isListOfTexts &&
           std::ranges::none_of(value, [](const json& part) { return part.is_structured(); });
}

std::string written(const json& value, const std::string& indent) {
    if (!value.is_structured() || value.empty() || isOneLine(value)) {
        return value.dump(-1, ' ', false, json::error_handler_t::replace);
    }
    const std::string deeper = indent + "  ";
    std::string text = value.is_object() ? "{" : "[";
    std::string separator;
    for (const auto& [key, part] : value.items()) {
        text += separator + "\n" + deeper;
        text += (value.is_object()
                     ? json(key).dump(-1, ' ', false, json::error_handler_t::replace) + ": "
                     : "") +
                written(part, deeper);
        separator = ",";
    }
    return text + "\n" + indent + (value.is_object() ? "}" : "]");
}

}  // namespace

std::optional<json> parsed(std::string_view text) {
    bool isTooDeep = false;
    const auto watchDepth = [&](int depth, json::parse_event_t, json&) {
        isTooDeep = isTooDeep || depth > deepestJSON;
        return !isTooDeep;
    };
    // The parser would take a zero byte for the end of the text.
    const bool isCut = text.find('\0') != std::string_view::npos;
    json value = isCut ? json(json::value_t::discarded) : json::parse(text, watchDepth, false);
    return value.is_discarded() || isTooDeep ? std::nullopt : std::optional(std::move(value));
}

std::string written(const json& value) {
    return written(value, "");
}

}  // namespace tolvaran::describe
