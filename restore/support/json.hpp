// JSON as the records of this system need it: read strictly, written predictably. Only the
// implementations of the records include this; it is not installed.
//
// What a record looks like in JSON is one table, from which it is read and written:
//
//     template <>
//     struct Format<OriginalsEntry> {
//         static constexpr auto fields = std::tuple(required("uuid", &OriginalsEntry::uuid),
//                                                   required("x", &OriginalsEntry::x),
//                                                   required("y", &OriginalsEntry::y));
//     };
//
// A record with rules beyond its fields' types states them in the same place, with either or both
// of these functions:
//
//     static void checkRead(const Record& record);     // throws DecodingError
//     static void checkWritten(const Record& record);  // throws EncodingError
//
// A member is a bool, a std::int64_t, a double, a std::string, another record, or a std::vector, a
// std::map from std::string or a std::optional of these.
//
// Reading never converts silently: a boolean is not a number and a number not a boolean, an integer
// may be written 2 or 2.0 but not 2.5, and a number that does not fit is an error. Values under
// keys that are not in the table only have to be well formed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace tolvaran::json {

/// Why a text could not be read as a record; what() begins with the keys that lead to the place.
class DecodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Why a record could not be written: a number that is not finite, text that is not UTF-8, or a
/// value that the record's format does not allow.
class EncodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The table of a record, to be specialised for each.
template <typename Record>
struct Format;

/// A row of such a table.
template <typename Record, typename Member>
struct Row {
    const char* key;
    Member Record::*member;
    bool isRequired;
};

/// A field that must be there and must not be null.
template <typename Record, typename Member>
constexpr Row<Record, Member> required(const char* key, Member Record::*member) {
    return {key, member, true};
}

/// A field that may be missing or null and then keeps its default value. A std::optional without a
/// value is left out when the record is written, never written as null.
template <typename Record, typename Member>
constexpr Row<Record, Member> optional(const char* key, Member Record::*member) {
    return {key, member, false};
}

namespace detail {

enum class Kind : std::uint8_t { boolean, integer, number, text, optional, list, map, record };

/// Called with a value in a container and, in a map, its key.
using Visitor = std::function<void(const std::string& key, const void* value)>;

struct Shape;

/// A row of a record's table.
struct Field {
    std::string_view key;
    bool isRequired;
    const Shape* shape;
    void* (*memberOf)(void* record);
    void (*reset)(void* member);  // to the default value of its type
};

/// How the values of one C++ type are read and written, without the type itself, so that the
/// decoder and the encoder are compiled once instead of once for each type.
struct Shape {
    Kind kind;

    // For an optional, a list or a map: the shape of its elements, and access to them.
    const Shape* element = nullptr;
    /// Puts a new default value into the container (in a map under this key, replacing any other).
    /// The result stays valid until the next value is added.
    void* (*add)(void* container, std::string_view key) = nullptr;
    void (*visit)(const void* container, const Visitor& visitor) = nullptr;

    // For a record: its table and its rules.
    std::span<const Field> fields = {};
    void (*checkRead)(const void* record) = nullptr;
    void (*checkWritten)(const void* record) = nullptr;
};

template <typename T>
struct ShapeOf;

template <typename T, Kind leaf>
struct Leaf {
    static constexpr Shape shape{.kind = leaf};
};
template <>
struct ShapeOf<bool> : Leaf<bool, Kind::boolean> {};
template <>
struct ShapeOf<std::int64_t> : Leaf<std::int64_t, Kind::integer> {};
template <>
struct ShapeOf<double> : Leaf<double, Kind::number> {};
template <>
struct ShapeOf<std::string> : Leaf<std::string, Kind::text> {};

template <typename T>
struct ShapeOf<std::optional<T>> {
    static void* add(void* container, std::string_view) {
        return &static_cast<std::optional<T>*>(container)->emplace();
    }
    static void visit(const void* container, const Visitor& visitor) {
        if (const auto& optional = *static_cast<const std::optional<T>*>(container)) {
            visitor({}, &*optional);
        }
    }
    static constexpr Shape shape{
        .kind = Kind::optional, .element = &ShapeOf<T>::shape, .add = add, .visit = visit};
};

template <typename T>
struct ShapeOf<std::vector<T>> {
    static void* add(void* container, std::string_view) {
        return &static_cast<std::vector<T>*>(container)->emplace_back();
    }
    static void visit(const void* container, const Visitor& visitor) {
        for (const T& element : *static_cast<const std::vector<T>*>(container)) {
            visitor({}, &element);
        }
    }
    static constexpr Shape shape{
        .kind = Kind::list, .element = &ShapeOf<T>::shape, .add = add, .visit = visit};
};

template <typename T>
struct ShapeOf<std::map<std::string, T>> {
    using Map = std::map<std::string, T>;
    static void* add(void* container, std::string_view key) {
        Map& map = *static_cast<Map*>(container);
        // What this system has written comes in order.
        const auto place = map.emplace_hint(map.end(), std::string(key), T());
        place->second = T();
        return &place->second;
    }
    static void visit(const void* container, const Visitor& visitor) {
        for (const auto& [key, element] : *static_cast<const Map*>(container)) {
            visitor(key, &element);
        }
    }
    static constexpr Shape shape{
        .kind = Kind::map, .element = &ShapeOf<T>::shape, .add = add, .visit = visit};
};

/// A record.
template <typename T>
struct ShapeOf {
    template <std::size_t index>
    static void* memberOf(void* record) {
        return &(static_cast<T*>(record)->*std::get<index>(Format<T>::fields).member);
    }
    template <typename Member>
    static void reset(void* member) {
        *static_cast<Member*>(member) = Member();
    }
    template <std::size_t index, typename Member>
    static constexpr Field field(const Row<T, Member>& row) {
        return {row.key, row.isRequired, &ShapeOf<Member>::shape, memberOf<index>, reset<Member>};
    }
    template <std::size_t... indices>
    static constexpr auto fieldsOf(std::index_sequence<indices...>) {
        return std::array<Field, sizeof...(indices)>{
            field<indices>(std::get<indices>(Format<T>::fields))...};
    }
    static void checkRead([[maybe_unused]] const void* record) {
        if constexpr (requires(const T& value) { Format<T>::checkRead(value); }) {
            Format<T>::checkRead(*static_cast<const T*>(record));
        }
    }
    static void checkWritten([[maybe_unused]] const void* record) {
        if constexpr (requires(const T& value) { Format<T>::checkWritten(value); }) {
            Format<T>::checkWritten(*static_cast<const T*>(record));
        }
    }
    static constexpr auto fields = fieldsOf(
        std::make_index_sequence<std::tuple_size_v<std::decay_t<decltype(Format<T>::fields)>>>());
    static constexpr Shape shape{.kind = Kind::record,
                                 .fields = fields,
                                 .checkRead = checkRead,
                                 .checkWritten = checkWritten};
};

/// Puts the value that `text` holds into a std::optional.
/// @param shape that of the std::optional
void read(std::string text, const Shape& shape, void* optional);
std::string write(const Shape& shape, const void* value);

}  // namespace detail

/// The record that `text` holds, or any other type that a member may have. If an object repeats a
/// key, the last one counts. A byte order mark at the beginning is ignored.
/// @throws DecodingError if `text` is not well-formed JSON in valid UTF-8, has more than 512 levels
///         of nesting or does not hold such a record
template <typename Record>
Record read(std::string text) {  // NOLINT(performance-unnecessary-value-param): it is moved
    std::optional<Record> record;
    detail::read(std::move(text), detail::ShapeOf<std::optional<Record>>::shape, &record);
    return *std::move(record);
}

/// `record` without white space, keys in ascending order. A number without a fraction, up to 2^53,
/// is written as an integer.
/// @throws EncodingError
template <typename Record>
std::string write(const Record& record) {
    return detail::write(detail::ShapeOf<Record>::shape, &record);
}

}  // namespace tolvaran::json
