#include "simulator/machine/json_reader.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace simulator {
namespace {

std::string joined(const std::string& path, const std::string& key) {
    return path.empty() ? key : path + "." + key;
}

/// The value as an integer; none if it is not a whole number or does not fit in 64 bits.
std::optional<std::int64_t> wholeNumber(const nlohmann::json& value) {
    if (value.is_number_float()) {
        const auto number = value.get<double>();
        const bool fits = std::abs(number) < 9223372036854775808.0 && number == std::trunc(number);
        return fits ? std::optional(static_cast<std::int64_t>(number)) : std::nullopt;
    }
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) {
        return std::nullopt;
    }
    return value.is_number() ? std::optional(value.get<std::int64_t>()) : std::nullopt;
}

}  // namespace

bool isNestedTooDeeply(std::string_view text) {
    std::size_t depth = 0;
    bool isString = false;
    for (std::size_t i = 0; i < text.size() && depth <= deepestNesting; ++i) {
        const char c = text[i];
        if (isString) {
            isString = c != '"';
            i += c == '\\' ? 1 : 0;
        } else if (c == '"') {
            isString = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return depth > deepestNesting;
}

void JsonReader::fail(const std::string& what) const {
    throw std::invalid_argument((path_.empty() ? "the document" : path_) + ": " + what);
}

void JsonReader::requireKeys(const std::vector<std::string_view>& known) const {
    requireObject();
    for (auto entry = value_.begin(); entry != value_.end(); ++entry) {
        if (std::find(known.begin(), known.end(), entry.key()) == known.end()) {
            JsonReader(entry.value(), joined(path_, entry.key())).fail("unknown key");
        }
    }
}

std::optional<JsonReader> JsonReader::find(const std::string& key) const {
    const auto found = value_.find(key);
    if (found == value_.end()) {
        return std::nullopt;
    }
    return JsonReader(*found, joined(path_, key));
}

JsonReader JsonReader::at(const std::string& key) const {
    const std::optional<JsonReader> found = find(key);
    if (!found) {
        JsonReader(value_, joined(path_, key)).fail("is missing");
    }
    return *found;
}

void JsonReader::requireObject() const {
    if (!value_.is_object()) {
        fail("must be an object");
    }
}

std::vector<std::pair<std::string, JsonReader>> JsonReader::entries() const {
    requireObject();
    std::vector<std::pair<std::string, JsonReader>> all;
    for (const auto& [key, entry] : value_.items()) {
        all.emplace_back(key, JsonReader(entry, joined(path_, key)));
    }
    return all;
}

std::vector<JsonReader> JsonReader::elements() const {
    if (!value_.is_array()) {
        fail("must be a list");
    }
    std::vector<JsonReader> all;
    for (const nlohmann::json& element : value_) {
        all.emplace_back(element, path_ + "[" + std::to_string(all.size()) + "]");
    }
    return all;
}

std::vector<JsonReader> JsonReader::elements(std::size_t count) const {
    std::vector<JsonReader> all = elements();
    if (all.size() != count) {
        fail("must have " + std::to_string(count) + " elements");
    }
    return all;
}

bool JsonReader::boolean() const {
    if (!value_.is_boolean()) {
        fail("must be true or false");
    }
    return value_.get<bool>();
}

double JsonReader::number() const {
    if (!value_.is_number()) {
        fail("must be a number");
    }
    return value_.get<double>();
}

std::string JsonReader::text() const {
    if (!value_.is_string()) {
        fail("must be a string");
    }
    return value_.get<std::string>();
}

std::int64_t JsonReader::integerBetween(std::int64_t least, std::int64_t greatest) const {
    const std::optional<std::int64_t> whole = wholeNumber(value_);
    if (!whole || *whole < least || *whole > greatest) {
        fail("must be a whole number from " + std::to_string(least) + " to " +
             std::to_string(greatest));
    }
    return *whole;
}

}  // namespace simulator
