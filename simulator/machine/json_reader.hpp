// Strictly reads JSON written by hand: the machine, timeline events, faults, scenario files. A
// reader knows the path of its value, so every error names the key, such as "mac.displays[1].frame:
// must have 4 elements".
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

// Much of the code that handles JSON recurses for each level, so deeper documents are refused.
inline constexpr std::size_t deepestNesting = 100;

/// Whether a JSON text nests lists and objects more than `deepestNesting` levels deep.
bool isNestedTooDeeply(std::string_view text);

/// A function that cannot do what its name says throws std::invalid_argument with the value's path
/// and what is wrong with it. A reader refers to the value and must not outlive it.
class JsonReader {
  public:
    /// @param path the value's place in the document; empty for the whole document
    JsonReader(const nlohmann::json& value, std::string path)
        : value_(value), path_(std::move(path)) {}

    const nlohmann::json& value() const { return value_; }
    const std::string& path() const { return path_; }
    bool isNull() const { return value_.is_null(); }

    [[noreturn]] void fail(const std::string& what) const;

    // Objects.

    /// Fails unless the value is an object.
    void requireObject() const;
    /// Fails unless the value is an object with no key but these.
    void requireKeys(const std::vector<std::string_view>& known) const;
    /// The value under a key; none if the key is missing.
    std::optional<JsonReader> find(const std::string& key) const;
    /// The value under a key; fails if the key is missing.
    JsonReader at(const std::string& key) const;
    /// All entries, in key order.
    std::vector<std::pair<std::string, JsonReader>> entries() const;

    // Lists.

    std::vector<JsonReader> elements() const;
    /// Fails unless there are exactly `count`.
    std::vector<JsonReader> elements(std::size_t count) const;

    // Single values. A boolean is not a number and a number not a boolean; a whole number may be
    // written with a fraction of 0.

    bool boolean() const;
    double number() const;
    std::string text() const;
    template <typename Integer>
    Integer integer(Integer least = std::numeric_limits<Integer>::min()) const {
        return static_cast<Integer>(
            integerBetween(static_cast<std::int64_t>(least),
                           static_cast<std::int64_t>(std::numeric_limits<Integer>::max())));
    }

  private:
    std::int64_t integerBetween(std::int64_t least, std::int64_t greatest) const;

    const nlohmann::json& value_;
    std::string path_;
};

/// Calls `read` with the value under the key, if there is one.
template <typename Read>
void ifPresent(const JsonReader& object, const std::string& key, Read read) {
    if (const std::optional<JsonReader> found = object.find(key)) {
        read(*found);
    }
}

/// Stores the integer under the key, if there is one.
template <typename Integer>
void readInteger(const JsonReader& object, const std::string& key, Integer& into) {
    ifPresent(object, key, [&](const JsonReader& value) { into = value.integer<Integer>(); });
}

/// Stores the boolean under the key, if there is one.
inline void readBoolean(const JsonReader& object, const std::string& key, bool& into) {
    ifPresent(object, key, [&](const JsonReader& value) { into = value.boolean(); });
}

}  // namespace simulator
