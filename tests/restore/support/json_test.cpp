#include "restore/support/json.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tolvaran::json {
namespace {

struct Record {
    std::int64_t whole = 0;
    double real = 0;
    bool flag = false;
    std::optional<std::string> name;
    std::vector<std::int64_t> list;
    std::map<std::string, double> map;

    bool operator==(const Record&) const = default;
    static Record fromJSON(const Value& value) {
        const Fields fields(value);
        return {fields.required<std::int64_t>("whole"),
                fields.required<double>("real"),
                fields.required<bool>("flag"),
                fields.optional<std::string>("name"),
                fields.required<std::vector<std::int64_t>>("list"),
                fields.required<std::map<std::string, double>>("map")};
    }
    Value toJSON() const {
        Object object{{"whole", whole},
                      {"real", real},
                      {"flag", flag},
                      {"list", encode(list)},
                      {"map", encode(map)}};
        put(object, "name", name);
        return object;
    }
};

std::string record(const std::string& whole, const std::string& real = "0",
                   const std::string& flag = "true", const std::string& rest = "") {
    return R"({"whole":)" + whole + R"(,"real":)" + real + R"(,"flag":)" + flag +
           R"(,"list":[],"map":{})" + rest + "}";
}

std::string errorOf(const std::string& text) {
    try {
        read<Record>(text);
    } catch (const DecodingError& error) {
        return error.what();
    }
    return "none";
}

TEST(Json, WritesKeysSortedWithoutSpacesAndLeavesAbsentFieldsOut) {
    EXPECT_EQ(write(Record{7, 1.5, true, std::nullopt, {1, 2}, {{"b", 2}, {"a", -3}}}),
              R"({"flag":true,"list":[1,2],"map":{"a":-3,"b":2},"real":1.5,"whole":7})");
}

TEST(Json, ReadsBackWhatItWrote) {
    const Record original{
        std::numeric_limits<std::int64_t>::min(),   0.1,          false, "ä\"\n\0x",
        {std::numeric_limits<std::int64_t>::max()}, {{"", 1e300}}};
    EXPECT_EQ(read<Record>(write(original)), original);
}

TEST(Json, WritesIntegralDoublesWithoutAFraction) {
    const std::vector<std::pair<double, std::string>> rows = {
        {1920.0, "1920"},
        {-1080.0, "-1080"},
        {-0.0, "0"},
        {0.5, "0.5"},
        {9007199254740992.0, "9007199254740992"},
        {1e308, "1e+308"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(serialize(value), text);
    }
}

TEST(Json, ReadsIntegersStrictly) {
    const std::vector<std::pair<std::string, std::int64_t>> rows = {
        {"2", 2},
        {"2.0", 2},
        {"2e0", 2},
        {"-0", 0},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(read<Record>(record(text)).whole, value) << text;
    }
}

TEST(Json, RefusesWhatIsNoInteger) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"2.5", "\"whole\": is no integer"},
        {"true", "\"whole\": is no integer"},
        {"\"2\"", "\"whole\": is no integer"},
        {"null", "\"whole\": is no integer"},
        {"[2]", "\"whole\": is no integer"},
        {"{}", "\"whole\": is no integer"},
        {"9223372036854775808", "\"whole\": does not fit in 64 bits"},
        {"-9223372036854775809", "\"whole\": does not fit in 64 bits"},
        {"-1e300", "\"whole\": does not fit in 64 bits"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(errorOf(record(text)), error) << text;
    }
}

TEST(Json, NeverTakesABooleanForANumberOrANumberForABoolean) {
    EXPECT_EQ(errorOf(record("1", "true")), "\"real\": is no number");
    EXPECT_EQ(errorOf(record("1", "1", "1")), "\"flag\": is no boolean");
    EXPECT_EQ(errorOf(record("1", "1", "\"true\"")), "\"flag\": is no boolean");
}

TEST(Json, TakesNullForAnAbsentOptionalField) {
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"name":null)")).name, std::nullopt);
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"name":"x")")).name, "x");
    EXPECT_EQ(errorOf(record("1", "1", "true", R"(,"name":1)")), "\"name\": is no text");
}

TEST(Json, NamesTheMissingField) {
    EXPECT_EQ(errorOf(R"({"whole":1,"flag":true,"list":[],"map":{}})"), "\"real\" is missing");
    EXPECT_EQ(errorOf("[]"), "is no object");
}

TEST(Json, TheLastOfRepeatedKeysCounts) {
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"whole":5)")).whole, 5);
}

TEST(Json, RefusesWhatIsNoJSON) {
    for (const std::string text :
         {"", " ", "{", "{]", "nul", "NaN", "Infinity", "01", "1 2", "{'a':1}", "\"\\ud800\"",
          "\"\xff\"", "\"\xc3\"", "[1,]", "1e999", "\x01"}) {
        EXPECT_THROW(parse(text), DecodingError) << text;
    }
}

TEST(Json, RefusesAZeroByteWhereverItStands) {
    const std::string text = "[1,\"a\"]";
    for (std::size_t place = 0; place <= text.size(); ++place) {
        EXPECT_THROW(parse(std::string(text).insert(place, 1, '\0')), DecodingError) << place;
    }
}

TEST(Json, RefusesARecordCutAtAnyLength) {
    const std::string whole = write(Record{7, 1.5, true, "n", {1, 2}, {{"a", 1}}});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(read<Record>(whole.substr(0, length)), DecodingError) << length;
    }
}

TEST(Json, BoundsTheDepth) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    EXPECT_NO_THROW(parse(nested(512)));
    EXPECT_THROW(parse(nested(513)), DecodingError);
    EXPECT_THROW(parse(std::string(5'000'000, '[')), DecodingError);
}

TEST(Json, RefusesToWriteWhatJSONCannotHold) {
    EXPECT_THROW(serialize(std::nan("")), EncodingError);
    EXPECT_THROW(serialize(std::numeric_limits<double>::infinity()), EncodingError);
    EXPECT_THROW(serialize("\xff"), EncodingError);
    EXPECT_THROW(serialize(Object{{"\xff", 1}}), EncodingError);
}

TEST(Json, ReadsAByteOrderMarkAndAnyWhiteSpace) {
    EXPECT_EQ(integer(parse("\xEF\xBB\xBF \t\r\n7 ")), 7);
}

}  // namespace
}  // namespace tolvaran::json
