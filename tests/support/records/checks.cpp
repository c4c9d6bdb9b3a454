#include "tests/support/records/checks.hpp"

#include <cmath>
#include <limits>

namespace tolvaran::tests::checks {

using nlohmann::json;

bool isText(const json& value) {
    return value.is_string();
}

bool isFlag(const json& value) {
    return value.is_boolean();
}

bool isNumber(const json& value) {
    return value.is_number();
}

std::optional<std::int64_t> integer(const json& value) {
    constexpr double twoToThe63 = 9223372036854775808.0;
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        constexpr auto greatest =
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return number <= greatest ? std::optional(static_cast<std::int64_t>(number)) : std::nullopt;
    }
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    const double number = value.is_number_float() ? value.get<double>() : 0.5;
    return number == std::trunc(number) && std::fabs(number) < twoToThe63
               ? std::optional(static_cast<std::int64_t>(number))
               : std::nullopt;
}

bool isInteger(const json& value) {
    return integer(value).has_value();
}

bool isInt32(const json& value) {
    const std::optional<std::int64_t> number = integer(value);
    return number && *number == static_cast<std::int32_t>(*number);
}

bool has(const json& object, const char* key, Check check) {
    return object.is_object() && object.contains(key) && check(object[key]);
}

bool mayHave(const json& object, const char* key, Check check) {
    return object.is_object() &&
           (!object.contains(key) || object[key].is_null() || check(object[key]));
}

json member(const json& object, const std::string& key) {
    return object.is_object() && object.contains(key) ? object.at(key) : json();
}

}  // namespace tolvaran::tests::checks
