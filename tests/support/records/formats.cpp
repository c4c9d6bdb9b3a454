#include "tests/support/records/formats.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace tolvaran::tests::formats {
namespace {

using nlohmann::json;

constexpr double twoToThe63 = 9223372036854775808.0;

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

using Check = bool (*)(const json&);

bool has(const json& object, const char* key, Check check) {
    return object.is_object() && object.contains(key) && check(object[key]);
}

bool mayHave(const json& object, const char* key, Check check) {
    return object.is_object() &&
           (!object.contains(key) || object[key].is_null() || check(object[key]));
}

template <Check check>
bool isListOf(const json& value) {
    return value.is_array() && std::all_of(value.begin(), value.end(), check);
}

template <Check check>
bool isMapOf(const json& value) {
    return value.is_object() && std::all_of(value.begin(), value.end(), check);
}

template <int version>
bool isVersion(const json& value) {
    return integer(value) == version;
}

bool isPosition(const json& value) {
    return has(value, "uuid", isText) && has(value, "x", isNumber) && has(value, "y", isNumber);
}

bool isMode(const json& value) {
    return has(value, "width", isInteger) && has(value, "height", isInteger) &&
           has(value, "scaled", isFlag) && has(value, "hz", isInteger);
}

template <int version>
bool isLayoutSets(const json& value) {
    return has(value, "version", isVersion<version>) &&
           has(value, "arrangements", isMapOf<isListOf<isListOf<isPosition>>>);
}

bool isOverride(const json& value) {
    return has(value, "canonicalID", isText) && mayHave(value, "hardwareID", isText) &&
           has(value, "portUUID", isText) && has(value, "enabled", isFlag);
}

bool isFourInt32(const json& value) {
    return isListOf<isInt32>(value) && value.size() == 4;
}

bool isKnownDisplay(const json& value) {
    return has(value, "ids", isListOf<isText>);
}

}  // namespace

bool isOriginals(const json& value) {
    return has(value, "version", isVersion<2>) &&
           has(value, "arrangements", isMapOf<isListOf<isPosition>>);
}

bool isResolutionOriginals(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "entries", isMapOf<isMode>);
}

bool isSeparatedSets(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "signatures", isListOf<isText>);
}

bool isMenuBarSnapshot(const json& value) {
    return mayHave(value, "hideMenuBar", isInteger) &&
           mayHave(value, "visibleInFullscreen", isInteger) &&
           mayHave(value, "displayVisibilityOverrides", isListOf<isOverride>) &&
           mayHave(value, "globalRestored", isFlag) && mayHave(value, "pendingOnly", isFlag);
}

bool isCornerSnapshot(const json& value) {
    constexpr std::array fields{"tlCorner", "tlModifier", "trCorner", "trModifier",
                                "blCorner", "blModifier", "brCorner", "brModifier"};
    const auto isMissing = [&](const char* key) {
        return !value.contains(key) || value[key].is_null();
    };
    return std::all_of(fields.begin(), fields.end(),
                       [&](const char* key) { return mayHave(value, key, isInt32); }) &&
           ((isMissing("liveActions") && isMissing("liveModifiers")) ||
            (has(value, "liveActions", isFourInt32) && has(value, "liveModifiers", isFourInt32)));
}

bool isDockMarker(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "restoreTo", isFlag);
}

bool isPreferences(const json& value) {
    return mayHave(value, "knownDisplays", isListOf<isKnownDisplay>);
}

bool isSidePinnedSets(const json& value) {
    return isLayoutSets<2>(value);
}

bool isNativeMirroredSets(const json& value) {
    return isLayoutSets<1>(value);
}

}  // namespace tolvaran::tests::formats
