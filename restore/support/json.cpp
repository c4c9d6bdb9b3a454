#include "restore/support/json.hpp"

#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "restore/support/text.hpp"

namespace tolvaran::json::detail {
namespace {

constexpr std::size_t maximumDepth = 512;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Where RapidJSON takes its memory from. Its own allocator calls realloc, whose failure it does
/// not check; this one throws std::bad_alloc like everything else.
class Allocator {
  public:
    void* Malloc(std::size_t size) { return size == 0 ? nullptr : ::operator new(size); }
    void* Realloc(void* old, std::size_t oldSize, std::size_t size) {
        void* const larger = Malloc(size);
        std::copy_n(static_cast<const char*>(old), std::min(oldSize, size),
                    static_cast<char*>(larger));
        Free(old);
        return larger;
    }
    static void Free(void* memory) { ::operator delete(memory); }
};

using UTF8 = rapidjson::UTF8<>;
using Reader = rapidjson::GenericReader<UTF8, UTF8, Allocator>;
using Buffer = rapidjson::GenericStringBuffer<UTF8, Allocator>;
using Writer = rapidjson::Writer<Buffer, UTF8, UTF8, Allocator>;

// Replaces a number that no double can hold while a text is read. It is not valid UTF-8, so it
// cannot occur in the text itself.
constexpr std::string_view outOfRange = "\xFF";

const char* expectation(Kind kind) {
    switch (kind) {
        case Kind::boolean:
            return "is not a boolean";
        case Kind::integer:
            return "is not an integer";
        case Kind::number:
            return "is not a number";
        case Kind::text:
            return "is not text";
        case Kind::list:
            return "is not an array";
        case Kind::optional:
        case Kind::map:
        case Kind::record:
            break;
    }
    return "is not an object";
}

std::string quoted(std::string_view key) {
    return "\"" + std::string(key) + "\"";
}

DecodingError invalidAt(std::size_t offset) {
    return DecodingError("invalid JSON at byte " + std::to_string(offset + 1));
}

/// Why the value under a key, or one in a list, could not be read.
struct Failure {
    std::string key;
    std::string reason;
};

/// A container that has been opened and not closed.
struct Level {
    const Shape* shape;  // null: its content is ignored
    void* container;
    std::string key = {};          // of the value that comes next
    const Field* field = nullptr;  // in a record, the field of this key; null: ignored
    std::uint64_t seen = 0;        // in a record, one bit for each field that has come
    std::vector<Failure> failures = {};
};

/// Where a value goes.
struct Place {
    const Shape* shape = nullptr;  // null: ignored
    void* value = nullptr;
    bool mayBeNull = false;
};

/// Puts the parser's events into a record. A value that does not fit is remembered until its
/// container ends, since a repeated key may still replace it, and since text that is not JSON at
/// all matters more.
class Decoder : public rapidjson::BaseReaderHandler<UTF8, Decoder> {
  public:
    /// @param shape that of the std::optional that receives the value
    Decoder(const Shape& shape, void* optional) : root_{shape.element, shape.add(optional, {})} {}

    /// Why the decoder stopped the parser; empty if it did not.
    const std::string& stopped() const { return stopped_; }
    /// Why the value is not of its shape; empty if it is.
    const std::string& failure() const { return failure_; }

    bool Null();
    bool Bool(bool value);
    bool Int(int value) { return Int64(value); }
    bool Uint(unsigned value) { return Int64(value); }
    bool Int64(std::int64_t value);
    bool Uint64(std::uint64_t value) {
        return std::in_range<std::int64_t>(value) ? Int64(static_cast<std::int64_t>(value))
                                                  : Double(static_cast<double>(value));
    }
    bool Double(double value);
    bool String(const char* bytes, rapidjson::SizeType length, bool copy);
    bool StartObject();
    bool Key(const char* bytes, rapidjson::SizeType length, bool copy);
    bool EndObject(rapidjson::SizeType) { return end(); }
    bool StartArray();
    bool EndArray(rapidjson::SizeType) { return end(); }

  private:
    bool numberOutOfRange();
    Place next();
    void fail(std::string reason);
    template <typename T>
    void put(const Place& place, Kind kind, T value);
    bool begin(const Place& place, bool fits);
    bool end();
    bool stop(std::string reason);

    Place root_;
    std::vector<Level> open_;  // outermost first
    std::string failure_;
    std::string stopped_;
};

/// Where the next value goes, with room made for it.
Place Decoder::next() {
    if (open_.empty()) {
        return root_;
    }
    Level& level = open_.back();
    if (level.shape == nullptr) {
        return {};
    }
    if (level.shape->kind == Kind::record) {
        return level.field == nullptr
                   ? Place()
                   : Place{level.field->shape, level.field->memberOf(level.container),
                           !level.field->isRequired};
    }
    if (level.shape->kind == Kind::list && !level.failures.empty()) {
        return {};  // the list has failed already, however many elements follow
    }
    return {level.shape->element, level.shape->add(level.container, level.key), false};
}

/// The place inside an optional for a value that is not null; other places unchanged.
Place inOptional(const Place& place) {
    return place.shape != nullptr && place.shape->kind == Kind::optional
               ? Place{place.shape->element, place.shape->add(place.value, {}), false}
               : place;
}

void Decoder::fail(std::string reason) {
    if (open_.empty()) {
        failure_ = std::move(reason);
    } else {
        open_.back().failures.push_back({open_.back().key, std::move(reason)});
    }
}

bool Decoder::stop(std::string reason) {
    stopped_ = std::move(reason);
    return false;
}

template <typename T>
void Decoder::put(const Place& place, Kind kind, T value) {
    if (place.shape == nullptr) {
        return;
    }
    if (place.shape->kind == kind) {
        *static_cast<T*>(place.value) = std::move(value);
    } else {
        fail(expectation(place.shape->kind));
    }
}

bool Decoder::Null() {
    const Place place = next();
    if (place.shape != nullptr && place.shape->kind != Kind::optional && !place.mayBeNull) {
        fail(expectation(place.shape->kind));
    }
    return true;
}

bool Decoder::Bool(bool value) {
    put(inOptional(next()), Kind::boolean, value);
    return true;
}

bool Decoder::Int64(std::int64_t value) {
    const Place place = inOptional(next());
    if (place.shape != nullptr && place.shape->kind == Kind::number) {
        put(place, Kind::number, static_cast<double>(value));
    } else {
        put(place, Kind::integer, value);
    }
    return true;
}

bool Decoder::Double(double value) {
    constexpr double limit = 9223372036854775808.0;  // 2^63, exact as a double
    if (!std::isfinite(value)) {
        return numberOutOfRange();
    }
    const Place place = inOptional(next());
    if (place.shape == nullptr || place.shape->kind != Kind::integer) {
        put(place, Kind::number, value);
    } else if (value != std::trunc(value)) {
        fail(expectation(Kind::integer));
    } else if (!(value > -limit && value < limit)) {
        // The least integer is refused as a double, because smaller integers round to the same
        // double; written without a fraction it arrives as an Int64.
        fail("does not fit in 64 bits");
    } else {
        put(place, Kind::integer, static_cast<std::int64_t>(value));
    }
    return true;
}

bool Decoder::numberOutOfRange() {
    if (next().shape != nullptr) {
        fail("is a number out of range");
    }
    return true;
}

bool Decoder::String(const char* bytes, rapidjson::SizeType length, bool) {
    std::string value(bytes, length);
    if (value == outOfRange) {
        return numberOutOfRange();
    }
    if (!text::isUTF8(value)) {
        return stop("invalid JSON: an escape is half of a surrogate pair");
    }
    put(inOptional(next()), Kind::text, std::move(value));
    return true;
}

bool Decoder::StartObject() {
    const Place place = inOptional(next());
    return begin(place, place.shape != nullptr &&
                            (place.shape->kind == Kind::record || place.shape->kind == Kind::map));
}

bool Decoder::StartArray() {
    const Place place = inOptional(next());
    return begin(place, place.shape != nullptr && place.shape->kind == Kind::list);
}

bool Decoder::begin(const Place& place, bool fits) {
    if (open_.size() == maximumDepth) {
        return stop("more than " + std::to_string(maximumDepth) + " levels of nesting");
    }
    if (place.shape != nullptr && !fits) {
        fail(expectation(place.shape->kind));
    }
    open_.push_back({.shape = fits ? place.shape : nullptr, .container = place.value});
    return true;
}

bool Decoder::Key(const char* bytes, rapidjson::SizeType length, bool) {
    Level& level = open_.back();
    level.key.assign(bytes, length);
    if (!text::isUTF8(level.key)) {
        return stop("invalid JSON: an escape is half of a surrogate pair");
    }
    if (level.shape == nullptr) {
        return true;
    }
    std::erase_if(level.failures, [&](const Failure& one) { return one.key == level.key; });
    const auto fields = level.shape->fields;
    const auto found = std::ranges::find(fields, level.key, &Field::key);
    level.field = found == fields.end() ? nullptr : &*found;
    if (level.field != nullptr) {
        const std::uint64_t bit = std::uint64_t{1} << static_cast<unsigned>(found - fields.begin());
        if ((level.seen & bit) != 0) {
            level.field->reset(level.field->memberOf(level.container));
        }
        level.seen |= bit;
    }
    return true;
}

/// The first failure in the order of the table, beginning with its key; empty if there is none.
std::string failureOfRecord(const Level& level) {
    std::uint64_t bit = 1;
    for (const Field& field : level.shape->fields) {
        if (field.isRequired && (level.seen & bit) == 0) {
            return quoted(field.key) + " is missing";
        }
        bit <<= 1U;
        const auto found = std::ranges::find(level.failures, field.key, &Failure::key);
        if (found != level.failures.end()) {
            return quoted(field.key) + ": " + found->reason;
        }
    }
    try {
        level.shape->checkRead(level.container);
    } catch (const DecodingError& error) {
        return error.what();
    }
    return "";
}

/// Why the container could not be read; empty if it could.
std::string failureOf(const Level& level) {
    if (level.shape == nullptr) {
        return "";
    }
    if (level.shape->kind == Kind::record) {
        return failureOfRecord(level);
    }
    const auto first = std::ranges::min_element(level.failures, {}, &Failure::key);
    return first == level.failures.end() ? "" : first->reason;
}

bool Decoder::end() {
    std::string reason = failureOf(open_.back());
    open_.pop_back();
    if (!reason.empty()) {
        fail(std::move(reason));
    }
    return true;
}

constexpr unsigned parseFlags = rapidjson::kParseFullPrecisionFlag;

/// The end of the number that begins at `start`.
std::size_t endOfNumber(const std::string& text, std::size_t start) {
    const auto afterDigits = [&](std::size_t from) {
        return std::min(text.find_first_not_of("0123456789", from), text.size());
    };
    // Moves `end` past a part that begins with `begins` bytes before its digits.
    std::size_t end = afterDigits(text[start] == '-' ? start + 1 : start);
    const auto take = [&](std::size_t begins) {
        const std::size_t after = afterDigits(end + begins);
        end = after > end + begins ? after : end;
    };
    if (text[end] == '.') {
        take(1);
    }
    if (text[end] == 'e' || text[end] == 'E') {
        take(text[end + 1] == '+' || text[end + 1] == '-' ? 2 : 1);
    }
    return end;
}

/// The end of the string that begins at `start`.
std::size_t endOfString(const std::string& text, std::size_t start) {
    std::size_t end = start + 1;
    while (end < text.size() && text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
    }
    return std::min(end + 1, text.size());
}

bool isOutOfRange(const char* number) {
    rapidjson::BaseReaderHandler<> ignored;
    rapidjson::StringStream stream(number);
    return Reader().Parse<parseFlags | rapidjson::kParseStopWhenDoneFlag>(stream, ignored).Code() ==
           rapidjson::kParseErrorNumberTooBig;
}

/// Replaces every number that no double can hold by `outOfRange`. The parser stops at such a number
/// even if the value is ignored; this way it is an error only where it is read.
void replaceNumbersOutOfRange(std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (text[at] == '"') {
            at = endOfString(text, at);
        } else if (text[at] != '-' && (text[at] < '0' || text[at] > '9')) {
            ++at;
        } else {
            const std::size_t end = std::max(endOfNumber(text, at), at + 1);
            if (isOutOfRange(text.c_str() + at)) {
                std::string replacement = '"' + std::string(outOfRange) + '"';
                replacement.resize(end - at, ' ');
                text.replace(at, end - at, replacement);
            }
            at = end;
        }
    }
}

/// Reads the text. @return false, with the value read in part, if a number is out of range
/// @throws DecodingError
[[nodiscard]] bool readUnlessOutOfRange(const std::string& text, const Shape& shape,
                                        void* optional) {
    Decoder decoder(shape, optional);
    const std::size_t start = text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    rapidjson::StringStream stream(text.c_str() + start);
    const rapidjson::ParseResult result = Reader().Parse<parseFlags>(stream, decoder);
    if (result.Code() == rapidjson::kParseErrorNumberTooBig) {
        return false;
    }
    if (!decoder.stopped().empty()) {
        throw DecodingError(decoder.stopped());
    }
    if (result.IsError()) {
        throw invalidAt(start + result.Offset());
    }
    if (!decoder.failure().empty()) {
        throw DecodingError(decoder.failure());
    }
    return true;
}

constexpr double twoToThe53 = 9007199254740992.0;  // up to here a double holds every integer

/// Writes a value of any shape.
class Encoder {
  public:
    void write(const Shape& shape, const void* value);
    std::string take() const { return {buffer_.GetString(), buffer_.GetSize()}; }

  private:
    void number(double value);
    void text(const std::string& value);
    void optional(const Shape& shape, const void* value);
    void list(const Shape& shape, const void* value);
    void map(const Shape& shape, const void* value);
    void record(const Shape& shape, const void* value);

    Buffer buffer_;
    Writer writer_{buffer_};
};

/// What an optional holds, null if it is empty; for other values the value itself.
const void* contentOf(const Shape& shape, const void* value) {
    if (shape.kind != Kind::optional) {
        return value;
    }
    const void* content = nullptr;
    shape.visit(value, [&](const std::string&, const void* one) { content = one; });
    return content;
}

void Encoder::number(double value) {
    if (!std::isfinite(value)) {
        throw EncodingError("a number is not finite");
    }
    if (value == std::trunc(value) && std::fabs(value) <= twoToThe53) {
        writer_.Int64(static_cast<std::int64_t>(value));
    } else {
        writer_.Double(value);
    }
}

void Encoder::text(const std::string& value) {
    if (!text::isUTF8(value)) {
        throw EncodingError("a text is not valid UTF-8");
    }
    writer_.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void Encoder::optional(const Shape& shape, const void* value) {
    if (const void* const content = contentOf(shape, value)) {
        write(*shape.element, content);
    } else {
        writer_.Null();
    }
}

void Encoder::list(const Shape& shape, const void* value) {
    writer_.StartArray();
    shape.visit(value, [&](const std::string&, const void* one) { write(*shape.element, one); });
    writer_.EndArray();
}

void Encoder::map(const Shape& shape, const void* value) {
    writer_.StartObject();
    shape.visit(value, [&](const std::string& key, const void* one) {
        text(key);
        write(*shape.element, one);
    });
    writer_.EndObject();
}

void Encoder::record(const Shape& shape, const void* value) {
    shape.checkWritten(value);
    std::vector<const Field*> sorted;
    for (const Field& field : shape.fields) {
        sorted.push_back(&field);
    }
    std::ranges::sort(sorted, {}, &Field::key);
    writer_.StartObject();
    for (const Field* const field : sorted) {
        // The member is only read; memberOf() is not const because the decoder uses it too.
        const void* const member = field->memberOf(const_cast<void*>(value));
        if (contentOf(*field->shape, member) != nullptr) {
            text(std::string(field->key));
            write(*field->shape, member);
        }
    }
    writer_.EndObject();
}

void Encoder::write(const Shape& shape, const void* value) {
    switch (shape.kind) {
        case Kind::boolean:
            writer_.Bool(*static_cast<const bool*>(value));
            break;
        case Kind::integer:
            writer_.Int64(*static_cast<const std::int64_t*>(value));
            break;
        case Kind::number:
            number(*static_cast<const double*>(value));
            break;
        case Kind::text:
            text(*static_cast<const std::string*>(value));
            break;
        case Kind::list:
            list(shape, value);
            break;
        case Kind::map:
            map(shape, value);
            break;
        case Kind::record:
            record(shape, value);
            break;
        case Kind::optional:
            optional(shape, value);
            break;
    }
}

}  // namespace

void read(std::string text, const Shape& shape, void* optional) {
    // The parser would take a zero byte for the end of the text.
    const std::size_t bad = std::min(text.find('\0'), text::findInvalidUTF8(text));
    if (bad != std::string::npos) {
        throw invalidAt(bad);
    }
    if (!readUnlessOutOfRange(text, shape, optional)) {
        replaceNumbersOutOfRange(text);
        if (!readUnlessOutOfRange(text, shape, optional)) {
            throw DecodingError("has a number out of range");
        }
    }
}

std::string write(const Shape& shape, const void* value) {
    Encoder encoder;
    encoder.write(shape, value);
    return encoder.take();
}

}  // namespace tolvaran::json::detail
