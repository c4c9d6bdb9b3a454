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
    std::optional<std::string> name = {};
    std::vector<std::int64_t> list = {};
    std::map<std::string, double> map = {};

    bool operator==(const Record&) const = default;
};

/// A record without fields: none of its content is read.
struct Nothing {
    bool operator==(const Nothing&) const = default;
};

/// A record with its own rule for each direction.
struct Even {
    std::int64_t number = 0;
    std::vector<std::int64_t> others = {};  // may be missing

    bool operator==(const Even&) const = default;
};

}  // namespace

template <>
struct Format<Record> {
    static constexpr auto fields =
        std::tuple(required("whole", &Record::whole), required("real", &Record::real),
                   required("flag", &Record::flag), optional("name", &Record::name),
                   required("list", &Record::list), required("map", &Record::map));
};

template <>
struct Format<Nothing> {
    static constexpr std::tuple<> fields{};
};

template <>
struct Format<Even> {
    static constexpr auto fields =
        std::tuple(required("number", &Even::number), optional("others", &Even::others));
    static void checkRead(const Even& even) {
        if (even.number % 2 != 0) {
            throw DecodingError("\"number\": is odd");
        }
    }
    static void checkWritten(const Even& even) {
        if (even.number % 2 != 0) {
            throw EncodingError("odd");
        }
    }
};

namespace {

std::string record(const std::string& whole, const std::string& real = "0",
                   const std::string& flag = "true", const std::string& rest = "") {
    return R"({"whole":)" + whole + R"(,"real":)" + real + R"(,"flag":)" + flag +
           R"(,"list":[],"map":{})" + rest + "}";
}

template <typename T = Record>
std::string errorOf(const std::string& text) {
    try {
        read<T>(text);
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
        {1e308, "1e308"},
        {-1.5e-300, "-1.5e-300"},
        {9007199254740994.0, "9007199254740994.0"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(write(value), text);
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

TEST(Json, ReadsEveryDoubleExactly) {
    const std::vector<std::pair<std::string, double>> rows = {
        {"0.1", 0.1},
        {"-0.0", -0.0},
        {"5e-324", 5e-324},
        {"2.2250738585072011e-308", 2.2250738585072011e-308},
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {"9007199254740993", 9007199254740992.0},
        {"9007199254740993.0000000000000000000000000000001", 9007199254740994.0},
        {"123456789012345678901234567890", 123456789012345678901234567890.0},
        {"1e-400", 0},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(read<double>(text), value) << text;
    }
}

TEST(Json, RefusesWhatIsNotAnInteger) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"2.5", "\"whole\": is not an integer"},
        {"true", "\"whole\": is not an integer"},
        {"\"2\"", "\"whole\": is not an integer"},
        {"null", "\"whole\": is not an integer"},
        {"[2]", "\"whole\": is not an integer"},
        {"{}", "\"whole\": is not an integer"},
        {"9223372036854775808", "\"whole\": does not fit in 64 bits"},
        {"-9223372036854775809", "\"whole\": does not fit in 64 bits"},
        {"-1e300", "\"whole\": does not fit in 64 bits"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(errorOf(record(text)), error) << text;
    }
}

TEST(Json, NeverTakesABooleanForANumberOrANumberForABoolean) {
    EXPECT_EQ(errorOf(record("1", "true")), "\"real\": is not a number");
    EXPECT_EQ(errorOf(record("1", "1", "1")), "\"flag\": is not a boolean");
    EXPECT_EQ(errorOf(record("1", "1", "\"true\"")), "\"flag\": is not a boolean");
}

TEST(Json, TakesNullForAnAbsentOptionalField) {
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"name":null)")).name, std::nullopt);
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"name":"x")")).name, "x");
    EXPECT_EQ(errorOf(record("1", "1", "true", R"(,"name":1)")), "\"name\": is not text");
}

TEST(Json, RefusesNullInAListOrAMap) {
    EXPECT_EQ(errorOf(record("1", "1", "true", R"(,"list":[1,null])")),
              "\"list\": is not an integer");
    EXPECT_EQ(errorOf(record("1", "1", "true", R"(,"map":{"a":null})")),
              "\"map\": is not a number");
}

TEST(Json, NamesTheMissingField) {
    EXPECT_EQ(errorOf(R"({"whole":1,"flag":true,"list":[],"map":{}})"), "\"real\" is missing");
    EXPECT_EQ(errorOf("[]"), "is not an object");
}

TEST(Json, TheLastOfRepeatedKeysCounts) {
    EXPECT_EQ(read<Record>(record("1", "1", "true", R"(,"whole":5)")).whole, 5);
    const std::vector<std::pair<std::string, Record>> rows = {
        {R"("whole":"2","whole":5)", {.whole = 5}},
        {R"("list":[1,2],"list":[3])", {.list = {3}}},
        {R"("list":[true],"list":[3])", {.list = {3}}},
        {R"("map":{"a":1},"map":{"b":2})", {.map = {{"b", 2}}}},
        {R"("map":{"b":1,"a":true,"b":2,"a":3})", {.map = {{"a", 3}, {"b", 2}}}},
        {R"("name":"x","name":null)", {}},
        {R"("name":1,"name":"x")", {.name = "x"}},
    };
    for (const auto& [fields, expected] : rows) {
        EXPECT_EQ(
            read<Record>(R"({"whole":0,"real":0,"flag":false,"list":[],"map":{},)" + fields + "}"),
            expected)
            << fields;
    }
    EXPECT_EQ(errorOf(record("1", "1", "true", R"(,"whole":null)")),
              "\"whole\": is not an integer");
    EXPECT_EQ(read<Even>(R"({"number":2,"others":[1],"others":null})"), Even{2});
}

TEST(Json, NamesTheFirstFieldOfTheTableThatIsWrong) {
    EXPECT_EQ(errorOf(R"({"map":[],"list":[1,"2",true],"flag":1,"whole":1})"),
              "\"real\" is missing");
    EXPECT_EQ(errorOf(R"({"map":[],"list":[1,"2",true],"flag":true,"whole":1,"real":1})"),
              "\"list\": is not an integer");
    EXPECT_EQ(errorOf(R"({"map":{"b":true,"a":"x"},"list":[],"flag":true,"whole":1,"real":1})"),
              "\"map\": is not a number");
    EXPECT_EQ(errorOf<std::vector<Even>>(R"([{"number":2},{"number":{}},{}])"),
              "\"number\": is not an integer");
}

TEST(Json, HoldsARecordToItsOwnRules) {
    EXPECT_EQ(read<Even>(R"({"number":2})"), Even{2});
    EXPECT_EQ(errorOf<Even>(R"({"number":3})"), "\"number\": is odd");
    EXPECT_EQ(errorOf<Even>(R"({"number":3,"others":1})"), "\"others\": is not an array");
    EXPECT_EQ(write(Even{4, {1}}), R"({"number":4,"others":[1]})");
    EXPECT_THROW(write(Even{5}), EncodingError);
}

TEST(Json, InvalidTextIsReportedBeforeAWrongRecord) {
    EXPECT_EQ(errorOf(R"({"whole":true)"), "invalid JSON at byte 14");
    EXPECT_EQ(errorOf("[}"), "invalid JSON at byte 2");
}

TEST(Json, RefusesWhatIsNotJSON) {
    for (const std::string text : {"",
                                   " ",
                                   "{",
                                   "{]",
                                   "nul",
                                   "NaN",
                                   "Infinity",
                                   "01",
                                   "1 2",
                                   "{'a':1}",
                                   "\"\\ud800\"",
                                   "\"\xff\"",
                                   "\"\xc3\"",
                                   "[1,]",
                                   "\x01",
                                   "\"\\udc00\"",
                                   "\"\\ud800\\ud800\"",
                                   "\"\\ud800x\"",
                                   "\"\xed\xa0\x80\"",
                                   "\"\xc0\x80\"",
                                   "\"\xf4\x90\x80\x80\"",
                                   "1.",
                                   ".5",
                                   "+1",
                                   "1e",
                                   "-",
                                   "\"\t\"",
                                   "\"a",
                                   "\"\\x\"",
                                   "/**/1",
                                   "{\"a\":1,}",
                                   "{1:2}",
                                   "[1 2]",
                                   "tru",
                                   "1e999.5",
                                   "1e999e5",
                                   "1e999,",
                                   "-1e"}) {
        EXPECT_NE(errorOf<Nothing>(text).find("invalid JSON"), std::string::npos) << text;
        EXPECT_NE(errorOf<Nothing>("{\"a\":" + text + "}").find("invalid JSON"), std::string::npos)
            << text;
        EXPECT_NE(errorOf<std::string>(text).find("invalid JSON"), std::string::npos) << text;
        EXPECT_NE(errorOf<double>(text).find("invalid JSON"), std::string::npos) << text;
    }
}

TEST(Json, SaysAtWhichByteTextIsInvalid) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "invalid JSON at byte 1"},
        {"not", "invalid JSON at byte 2"},
        {"{\"a\":1", "invalid JSON at byte 7"},
        {"{\"a\xc3(\":1}", "invalid JSON at byte 5"},
        {"{\"a\":\"\xc3", "invalid JSON at byte 8"},
        {std::string("{}\0", 3), "invalid JSON at byte 3"},
        {"\xEF\xBB\xBF{]", "invalid JSON at byte 5"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(errorOf(text), error) << text;
    }
}

TEST(Json, ANumberOutOfRangeIsAnErrorOnlyWhereItIsRead) {
    const std::string digits(400, '7');
    for (const std::string& number :
         {std::string("1e999"), std::string("2e308"), std::string("1.7976931348623159e308"),
          std::string("0.0002e312"), std::string("-1e999"), std::string("1.5E+400"), digits,
          "-" + digits + ".25e-1", "1" + digits + "e9", std::string("1e99999999999999999999")}) {
        EXPECT_EQ(read<Nothing>("{\"zoom\":" + number + "}"), Nothing()) << number;
        EXPECT_EQ(
            read<Record>(record("1", "2", "true",
                                ",\"a\":[\"1e999\\\"\"," + number + ",{\"b\":" + number + "}]"))
                .whole,
            1)
            << number;
        EXPECT_EQ(errorOf(record(number)), "\"whole\": is a number out of range") << number;
        EXPECT_EQ(errorOf(record("1", number)), "\"real\": is a number out of range") << number;
        EXPECT_EQ(errorOf(record("1", "1", "true", ",\"name\":" + number)),
                  "\"name\": is a number out of range");
        EXPECT_EQ(errorOf(record("1", "1", "true", ",\"list\":[1," + number + "]")),
                  "\"list\": is a number out of range");
        EXPECT_EQ(errorOf<std::string>(number), "is a number out of range");
        EXPECT_EQ(errorOf<Nothing>("{" + number + ":1}").substr(0, 12), "invalid JSON");
    }
    EXPECT_EQ(read<Nothing>(R"({"":"","zoom":1e999})"), Nothing());
    EXPECT_EQ(read<Record>(record("1", "2", "true", ",\"a\":1e999,\"list\":[4]")).list,
              std::vector<std::int64_t>{4});
}

TEST(Json, RefusesAZeroByteWhereverItIs) {
    const std::string text = "{\"b\":[1,\"a\"]}";
    for (std::size_t place = 0; place <= text.size(); ++place) {
        EXPECT_THROW(read<Nothing>(std::string(text).insert(place, 1, '\0')), DecodingError)
            << place;
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
        return "{\"a\":" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + "}";
    };
    EXPECT_NO_THROW(read<Nothing>(nested(512)));
    EXPECT_EQ(errorOf<Nothing>(nested(513)), "more than 512 levels of nesting");
    EXPECT_EQ(errorOf<Nothing>(std::string(5'000'000, '[')), "more than 512 levels of nesting");
}

TEST(Json, RefusesToWriteWhatJSONCannotHold) {
    EXPECT_THROW(write(std::nan("")), EncodingError);
    EXPECT_THROW(write(std::numeric_limits<double>::infinity()), EncodingError);
    EXPECT_THROW(write(std::string("\xff")), EncodingError);
    EXPECT_THROW(write(std::string("\xed\xa0\x80")), EncodingError);
    EXPECT_THROW(write(std::map<std::string, double>{{"\xff", 1}}), EncodingError);
}

TEST(Json, ReadsAByteOrderMarkAndAnyWhiteSpace) {
    EXPECT_EQ(read<std::int64_t>("\xEF\xBB\xBF \t\r\n7 "), 7);
}

}  // namespace
}  // namespace tolvaran::json
