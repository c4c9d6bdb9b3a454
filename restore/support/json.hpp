// JSON as the records of this system need it: read strictly, written predictably.
//
// A record is a plain struct with two members:
//     static Record fromJSON(const json::Value& value);   // throws DecodingError
//     json::Value toJSON() const;
// Reading never converts silently: a boolean is no number and a number no boolean, an integer may
// be written 2 or 2.0 but not 2.5, and a number that does not fit is an error, not a wrapped one.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tolvaran::json {

class Value;
using Array = std::vector<Value>;
using Object = std::map<std::string, Value>;  // so keys are always written in sorted order

/// One JSON value. A number written without fraction and exponent that fits in 64 signed bits is
/// kept as an integer, every other number as a double.
class Value {
  public:
    Value() = default;  // null
    Value(bool value) : content_(value) {}
    Value(std::int64_t value) : content_(value) {}
    Value(int value) : content_(std::int64_t{value}) {}
    Value(double value) : content_(value) {}
    Value(std::string value) : content_(std::move(value)) {}
    Value(const char* value) : content_(std::string(value)) {}
    Value(Array value) : content_(std::move(value)) {}
    Value(Object value) : content_(std::move(value)) {}

    /// The content when it is of this very type, null otherwise.
    template <typename T>
    const T* as() const {
        return std::get_if<T>(&content_);
    }
    bool isNull() const { return std::holds_alternative<std::monostate>(content_); }

  private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Array, Object> content_;
};

/// Why bytes or a value could not be read as a record; what() names the key.
class DecodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Why a record could not be written: a number that is not finite, text that is not UTF-8, or a
/// value that the record's format does not allow.
class EncodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The value that `text` holds. When an object repeats a key, the last one counts.
/// @throws DecodingError for anything that is not JSON in valid UTF-8, and for more than 512 levels
///         of nesting
Value parse(std::string_view text);

/// `value` without white space, keys sorted. A double without a fraction, up to 2^53, is written
/// as an integer.
/// @throws EncodingError
std::string serialize(const Value& value);

/// The content as this type. @throws DecodingError when it is of another type or does not fit
bool boolean(const Value& value);
std::int64_t integer(const Value& value);
double number(const Value& value);
const std::string& string(const Value& value);
const Array& array(const Value& value);
const Object& object(const Value& value);

namespace detail {

/// How a T is read: a record by its own fromJSON, the other types as below.
template <typename T>
struct Decoder {
    static T from(const Value& value) { return T::fromJSON(value); }
};
template <>
struct Decoder<bool> {
    static bool from(const Value& value) { return boolean(value); }
};
template <>
struct Decoder<std::int64_t> {
    static std::int64_t from(const Value& value) { return integer(value); }
};
template <>
struct Decoder<double> {
    static double from(const Value& value) { return number(value); }
};
template <>
struct Decoder<std::string> {
    static std::string from(const Value& value) { return string(value); }
};
template <typename T>
struct Decoder<std::vector<T>> {
    static std::vector<T> from(const Value& value) {
        std::vector<T> list;
        for (const Value& element : array(value)) {
            list.push_back(Decoder<T>::from(element));
        }
        return list;
    }
};
template <typename T>
struct Decoder<std::map<std::string, T>> {
    static std::map<std::string, T> from(const Value& value) {
        std::map<std::string, T> map;
        for (const auto& [key, element] : object(value)) {
            map.emplace(key, Decoder<T>::from(element));
        }
        return map;
    }
};

/// `read` with the key put before the text of any error, so that the text leads to the place.
template <typename Read>
auto within(const std::string& key, Read read) {
    try {
        return read();
    } catch (const DecodingError& error) {
        throw DecodingError("\"" + key + "\": " + error.what());
    }
}

template <typename T>
Value encoded(const T& value) {
    if constexpr (requires { value.toJSON(); }) {
        return value.toJSON();
    } else {
        return Value(value);
    }
}
template <typename T>
Value encoded(const std::vector<T>& list) {
    Array array;
    for (const T& element : list) {
        array.push_back(encoded(element));
    }
    return array;
}
template <typename T>
Value encoded(const std::map<std::string, T>& map) {
    Object object;
    for (const auto& [key, element] : map) {
        object.emplace(key, encoded(element));
    }
    return object;
}

}  // namespace detail

/// Reads the fields of one object.
class Fields {
  public:
    /// @throws DecodingError when `value` is no object
    explicit Fields(const Value& value) : object_(object(value)) {}

    /// The field under `key`. @throws DecodingError when it is missing, null or of another type
    template <typename T>
    T required(const std::string& key) const {
        const Value* const value = find(key);
        if (value == nullptr) {
            throw DecodingError("\"" + key + "\" is missing");
        }
        return detail::within(key, [&] { return detail::Decoder<T>::from(*value); });
    }

    /// The same, or none when it is missing or null.
    template <typename T>
    std::optional<T> optional(const std::string& key) const {
        const Value* const value = find(key);
        if (value == nullptr || value->isNull()) {
            return std::nullopt;
        }
        return detail::within(key, [&] { return detail::Decoder<T>::from(*value); });
    }

  private:
    const Value* find(const std::string& key) const {
        const auto found = object_.find(key);
        return found == object_.end() ? nullptr : &found->second;
    }

    const Object& object_;
};

/// `value` as JSON: a record, bool, std::int64_t, double, std::string, or std::vector and std::map
/// (from std::string) of these.
template <typename T>
Value encode(const T& value) {
    return detail::encoded(value);
}

/// Adds the field to `object` when there is one; an absent field is left out, never written null.
template <typename T>
void put(Object& object, const std::string& key, const std::optional<T>& value) {
    if (value) {
        object.emplace(key, encode(*value));
    }
}

/// The record that `text` holds (of any type that encode() takes). @throws DecodingError
template <typename Record>
Record read(std::string_view text) {
    return detail::Decoder<Record>::from(parse(text));
}

/// The text of a record. @throws EncodingError
template <typename Record>
std::string write(const Record& record) {
    return serialize(encode(record));
}

}  // namespace tolvaran::json
