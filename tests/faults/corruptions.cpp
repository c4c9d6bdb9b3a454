#include "tests/faults/corruptions.hpp"

#include <functional>
#include <nlohmann/json.hpp>

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// Marks where text goes that a parsed document cannot hold, such as a key that is there twice.
constexpr const char* placeholder = "@ here @";

/// Values of every type as text, unusual ones included; some are not JSON.
constexpr const char* otherValues[] = {
    "null",
    "true",
    "false",
    "0",
    "1",
    "-1",
    "2.0",
    "0.5",
    "1e300",
    "-1e300",
    "1e999",
    "2147483648",
    "-2147483649",
    "9223372036854775807",
    "9223372036854775808",
    "18446744073709551616",
    "\"\"",
    "\"1\"",
    "\"text\"",
    "\"\\ud800\"",
    "[]",
    "[null]",
    "[1,1,1,1]",
    "[[]]",
    "{}",
    "{\"key\":1}",
    "NaN",
};

/// Every place in the document, the whole first.
void collectPlaces(const json& value, const json::json_pointer& at,
                   std::vector<json::json_pointer>& places) {
    places.push_back(at);
    if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            collectPlaces(member, at / key, places);
        }
    } else if (value.is_array()) {
        for (std::size_t i = 0; i < value.size(); ++i) {
            collectPlaces(value[i], at / i, places);
        }
    }
}

std::string replaced(std::string text, const std::string& part, const std::string& by) {
    return text.replace(text.find(part), part.size(), by);
}

/// The document with this text in place of one value.
std::string withText(json document, const json::json_pointer& place, const std::string& text) {
    document[place] = placeholder;
    return replaced(document.dump(), json(placeholder).dump(), text);
}

std::string without(json document, const json::json_pointer& place) {
    json& parent = document[place.parent_pointer()];
    if (parent.is_array()) {
        parent.erase(std::stoul(place.back()));
    } else {
        parent.erase(place.back());
    }
    return document.dump();
}

/// The document with the key of this place twice, with these values in this order.
std::string doubled(const json& document, const json::json_pointer& place, const std::string& first,
                    const std::string& second) {
    return withText(document, place, first + "," + json(place.back()).dump() + ":" + second);
}

void corruptPlace(const json& document, const json::json_pointer& place,
                  std::vector<Corruption>& into) {
    const std::string name = "\"" + place.to_string() + "\"";
    const std::string own = document[place].dump();
    for (const char* const other : otherValues) {
        into.push_back({name + " is " + other, withText(document, place, other)});
    }
    if (document[place].is_object()) {
        json extended = document;
        extended[place]["unknown key"] = {{"of", "some later version"}};
        into.push_back({name + " has an unknown key", extended.dump()});
    }
    if (place.empty()) {
        return;
    }
    into.push_back({name + " is missing", without(document, place)});
    if (document[place.parent_pointer()].is_object()) {
        into.push_back({name + " is doubled, null first", doubled(document, place, "null", own)});
        into.push_back({name + " is doubled, null last", doubled(document, place, own, "null")});
    }
}

}  // namespace

std::vector<Corruption> cuts(const std::string& content) {
    std::vector<Corruption> result;
    for (std::size_t length = 0; length < content.size(); ++length) {
        result.push_back({"cut at " + std::to_string(length), content.substr(0, length)});
    }
    return result;
}

std::size_t byteCorruptions(const std::string& content) {
    return content.size() * 255;
}

Corruption byteCorruption(const std::string& content, std::size_t number) {
    const std::size_t place = number / 255;
    const auto value =
        static_cast<unsigned char>(static_cast<unsigned char>(content[place]) + number % 255 + 1);
    std::string corrupt = content;
    corrupt[place] = static_cast<char>(value);
    return {"byte " + std::to_string(place) + " is " + std::to_string(value), corrupt};
}

std::vector<Corruption> fieldCorruptions(const std::string& content) {
    const json document = json::parse(content, nullptr, false);
    std::vector<Corruption> result;
    if (document.is_discarded()) {
        return result;
    }
    std::vector<json::json_pointer> places;
    collectPlaces(document, json::json_pointer(), places);
    for (const json::json_pointer& place : places) {
        corruptPlace(document, place, result);
    }
    return result;
}

}  // namespace tolvaran::tests
