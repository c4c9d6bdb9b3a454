#include "restore/support/json.hpp"

#include <cmath>
#include <nlohmann/json.hpp>

namespace tolvaran::json {
namespace {

constexpr std::size_t maximumDepth = 512;

/// Builds a Value from the parser's events. Events keep the parser from making a tree of its own
/// whose depth nobody has bounded.
class Builder : public nlohmann::json_sax<nlohmann::json> {
  public:
    Value take() { return std::move(root_); }
    const std::string& error() const { return error_; }

    bool null() override { return add(Value()); }
    bool boolean(bool value) override { return add(Value(value)); }
    bool number_integer(number_integer_t value) override { return add(Value(value)); }
    bool number_unsigned(number_unsigned_t value) override {
        return value <= static_cast<number_unsigned_t>(INT64_MAX)
                   ? add(Value(static_cast<std::int64_t>(value)))
                   : add(Value(static_cast<double>(value)));
    }
    bool number_float(number_float_t value, const string_t&) override { return add(Value(value)); }
    bool string(string_t& value) override { return add(Value(std::move(value))); }
    bool binary(binary_t&) override { return fail("binary value"); }

    bool start_object(std::size_t) override { return open(Value(Object())); }
    bool key(string_t& value) override {
        keys_.back() = std::move(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Value(Array())); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::json::exception&) override {
        return fail("no valid JSON at byte " + std::to_string(position));
    }

  private:
    bool fail(std::string error) {
        error_ = std::move(error);
        return false;
    }

    bool open(Value container) {
        if (open_.size() == maximumDepth) {
            return fail("more than " + std::to_string(maximumDepth) + " levels of nesting");
        }
        open_.push_back(std::move(container));
        keys_.emplace_back();
        return true;
    }

    bool close() {
        Value closed = std::move(open_.back());
        open_.pop_back();
        keys_.pop_back();
        return add(std::move(closed));
    }

    bool add(Value value) {
        if (open_.empty()) {
            root_ = std::move(value);
        } else if (auto* const array = const_cast<Array*>(open_.back().as<Array>())) {
            array->push_back(std::move(value));
        } else {
            auto* const object = const_cast<Object*>(open_.back().as<Object>());
            object->insert_or_assign(std::move(keys_.back()), std::move(value));
        }
        return true;
    }

    Value root_;
    std::vector<Value> open_;        // the containers around the current place, outermost first
    std::vector<std::string> keys_;  // for each of them, the key that was read last
    std::string error_;
};

constexpr double twoToThe53 = 9007199254740992.0;  // up to here a double holds every integer

nlohmann::json tree(const Value& value);

nlohmann::json numberTree(double value) {
    if (!std::isfinite(value)) {
        throw EncodingError("a number is not finite");
    }
    if (value == std::trunc(value) && std::fabs(value) <= twoToThe53) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

nlohmann::json arrayTree(const Array& array) {
    nlohmann::json result = nlohmann::json::array();
    for (const Value& element : array) {
        result.push_back(tree(element));
    }
    return result;
}

nlohmann::json objectTree(const Object& object) {
    nlohmann::json result = nlohmann::json::object();
    for (const auto& [key, element] : object) {
        result[key] = tree(element);
    }
    return result;
}

nlohmann::json tree(const Value& value) {
    if (const auto* const flag = value.as<bool>()) {
        return *flag;
    }
    if (const auto* const integer = value.as<std::int64_t>()) {
        return *integer;
    }
    if (const auto* const number = value.as<double>()) {
        return numberTree(*number);
    }
    if (const auto* const text = value.as<std::string>()) {
        return *text;
    }
    if (const auto* const array = value.as<Array>()) {
        return arrayTree(*array);
    }
    if (const auto* const object = value.as<Object>()) {
        return objectTree(*object);
    }
    return nullptr;
}

template <typename T>
const T& expect(const Value& value, const char* type) {
    const T* const content = value.as<T>();
    if (content == nullptr) {
        throw DecodingError(std::string("is no ") + type);
    }
    return *content;
}

}  // namespace

Value parse(std::string_view text) {
    // The parser takes a zero byte for the end of the text and would not see what follows it.
    if (text.find('\0') != std::string_view::npos) {
        throw DecodingError("no valid JSON: it has a zero byte");
    }
    Builder builder;
    try {
        if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
            throw DecodingError(builder.error());
        }
    } catch (const nlohmann::json::exception&) {
        throw DecodingError("no valid JSON");
    }
    return builder.take();
}

std::string serialize(const Value& value) {
    try {
        return tree(value).dump();
    } catch (const nlohmann::json::exception&) {
        throw EncodingError("a text is not valid UTF-8");
    }
}

bool boolean(const Value& value) {
    return expect<bool>(value, "boolean");
}

std::int64_t integer(const Value& value) {
    const auto* const real = value.as<double>();
    if (real == nullptr) {
        return expect<std::int64_t>(value, "integer");
    }
    constexpr double limit = 9223372036854775808.0;  // 2^63, exact as a double
    if (*real != std::trunc(*real)) {
        throw DecodingError("is no integer");
    }
    // The least integer is refused as a double, which the integers just below it round to as well;
    // written without a fraction it has been kept as an integer.
    if (!(*real > -limit && *real < limit)) {
        throw DecodingError("does not fit in 64 bits");
    }
    return static_cast<std::int64_t>(*real);
}

double number(const Value& value) {
    if (const auto* const whole = value.as<std::int64_t>()) {
        return static_cast<double>(*whole);
    }
    return expect<double>(value, "number");
}

const std::string& string(const Value& value) {
    return expect<std::string>(value, "text");
}

const Array& array(const Value& value) {
    return expect<Array>(value, "array");
}

const Object& object(const Value& value) {
    return expect<Object>(value, "object");
}

}  // namespace tolvaran::json
