// Questions about JSON, for the rows of records: what the design demands of a file's values. They
// are written independently of the product's own reading.
#pragma once

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tests/support/records/records.hpp"

namespace tolvaran::tests::checks {

using Check = bool (*)(const nlohmann::json&);

// What a value is.
bool isText(const nlohmann::json& value);
bool isFlag(const nlohmann::json& value);
bool isNumber(const nlohmann::json& value);
bool isInteger(const nlohmann::json& value);  // 2 or 2.0, in 64 bits
bool isInt32(const nlohmann::json& value);

/// The value as a 64-bit integer; none if it is not one.
std::optional<std::int64_t> integer(const nlohmann::json& value);

template <Check check>
bool isListOf(const nlohmann::json& value) {
    return value.is_array() && std::all_of(value.begin(), value.end(), check);
}

template <Check check>
bool isMapOf(const nlohmann::json& value) {
    return value.is_object() && std::all_of(value.begin(), value.end(), check);
}

template <int version>
bool isVersion(const nlohmann::json& value) {
    return integer(value) == version;
}

/// Whether the object has such a value under the key.
bool has(const nlohmann::json& object, const char* key, Check check);

/// Whether the object has such a value, null or nothing under the key.
bool mayHave(const nlohmann::json& object, const char* key, Check check);

/// The element of an object; null if it is missing or there is no object.
nlohmann::json member(const nlohmann::json& object, const std::string& key);

template <typename Accepts>
bool anyDisplay(const Moment& moment, Accepts accepts) {
    const nlohmann::json& displays = moment.mac.at("displays");
    return std::any_of(displays.begin(), displays.end(), accepts);
}

}  // namespace tolvaran::tests::checks
