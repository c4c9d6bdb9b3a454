#include "restore/modes/display_mode_spec.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "restore/modes/formats.hpp"
#include "tests/support/decimal_comma_locale.hpp"

namespace tolvaran::tests {
namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

DisplayModeSpec sized(std::int64_t width, std::int64_t height) {
    return {.width = width, .height = height, .scaled = false, .hz = 60};
}

TEST(DisplayModeSpec, IsBuiltFromItsFieldsInOrder) {
    const DisplayModeSpec spec{2560, 1440, true, 60};
    EXPECT_EQ(spec.width, 2560);
    EXPECT_EQ(spec.height, 1440);
    EXPECT_TRUE(spec.scaled);
    EXPECT_EQ(spec.hz, 60);
}

// The original, and a variation of each field: equality and the hash may leave none out.
const std::vector<DisplayModeSpec> variations{{2560, 1440, true, 60},
                                              {2561, 1440, true, 60},
                                              {2560, 1441, true, 60},
                                              {2560, 1440, false, 60},
                                              {2560, 1440, true, 61}};

TEST(DisplayModeSpec, IsEqualOnlyInAllFields) {
    for (std::size_t i = 0; i < variations.size(); ++i) {
        for (std::size_t j = 0; j < variations.size(); ++j) {
            EXPECT_EQ(variations[i] == variations[j], i == j) << i << ", " << j;
        }
    }
}

TEST(DisplayModeSpec, HashesAllFields) {
    std::unordered_set<std::size_t> hashes;
    for (DisplayModeSpec spec : variations) {
        const std::size_t hash = std::hash<DisplayModeSpec>{}(spec);
        const DisplayModeSpec copy = spec;
        EXPECT_EQ(std::hash<DisplayModeSpec>{}(copy), hash);
        hashes.insert(hash);
    }
    EXPECT_EQ(hashes.size(), variations.size());
}

TEST(DisplayModeSpec, HashDistinguishesWidthFromHeight) {
    const std::hash<DisplayModeSpec> hash;
    EXPECT_NE(hash({1080, 1920, false, 60}), hash({1920, 1080, false, 60}));
}

TEST(DisplayModeSpec, HashSpreadsUsualModes) {
    std::unordered_set<std::size_t> hashes;
    std::size_t count = 0;
    for (std::int64_t width = 640; width <= 5120; width += 128) {
        for (std::int64_t height = 480; height <= 2880; height += 120) {
            for (const std::int64_t hz : {0, 30, 50, 60, 120, 144}) {
                for (const bool scaled : {false, true}) {
                    hashes.insert(std::hash<DisplayModeSpec>{}({width, height, scaled, hz}));
                    ++count;
                }
            }
        }
    }
    EXPECT_GT(hashes.size(), count * 99 / 100);
}

TEST(DisplayModeSpec, WritesItsFourKeys) {
    EXPECT_EQ(tolvaran::json::write(DisplayModeSpec{2560, 1440, true, 60}),
              R"({"height":1440,"hz":60,"scaled":true,"width":2560})");
}

TEST(DisplayModeSpec, ReadsBackWhatItWrote) {
    for (const DisplayModeSpec& spec : std::vector<DisplayModeSpec>{
             {1, 1, false, 0}, {2560, 1440, true, 60}, {greatest, least, false, -1}}) {
        EXPECT_EQ(tolvaran::json::read<DisplayModeSpec>(tolvaran::json::write(spec)), spec);
    }
}

TEST(DisplayModeSpec, ReadsAnyWidthAndIgnoresUnknownKeys) {
    EXPECT_EQ(tolvaran::json::read<DisplayModeSpec>(
                  R"({"hz":60.0,"depth":8,"scaled":false,"height":-1440,"width":0})"),
              (DisplayModeSpec{0, -1440, false, 60}));
}

TEST(DisplayModeSpec, IsNotReadFromAnythingElse) {
    for (const char* text : {"null", "[]", "\"2560\"", "2560", "{}", "{\"width\":2560}"}) {
        EXPECT_THROW(tolvaran::json::read<DisplayModeSpec>(text), tolvaran::json::DecodingError)
            << text;
    }
}

TEST(DisplayModeSpec, NeedsEveryFieldAndEachOfItsOwnType) {
    const std::map<std::string, std::string> good{
        {"width", "2560"}, {"height", "1440"}, {"scaled", "true"}, {"hz", "60"}};
    const std::vector<std::string> notAnInteger{
        "null", "true",  "\"60\"", "[]", "{}", "2.5", "9223372036854775808", "-9223372036854775809",
        "1e19", "1e300", ""};
    const std::vector<std::string> notABoolean{"null", "1", "0", "1.0", "\"true\"", "[]", "{}", ""};
    for (const auto& [key, ignored] : good) {
        for (const std::string& bad : key == "scaled" ? notABoolean : notAnInteger) {
            std::string text;
            for (const auto& [other, value] : good) {
                const std::string& written = other == key ? bad : value;
                if (!written.empty()) {  // empty: the field is left out
                    text += (text.empty() ? "{\"" : ",\"") + other + "\":" + written;
                }
            }
            text += "}";
            EXPECT_THROW(tolvaran::json::read<DisplayModeSpec>(text), tolvaran::json::DecodingError)
                << text;
        }
    }
}

TEST(DisplayModeSpec, IsValidWithAPositiveSizeAndNoNegativeRate) {
    const std::vector<std::pair<DisplayModeSpec, bool>> cases{
        {{1, 1, false, 0}, true},     {{2560, 1440, true, 60}, true},
        {{0, 1, false, 0}, false},    {{-1, 1, false, 0}, false},
        {{1, 0, false, 0}, false},    {{1, -1, false, 0}, false},
        {{1, 1, false, -1}, false},   {{greatest, greatest, false, greatest}, true},
        {{least, 1, true, 60}, false}};
    for (const auto& [spec, valid] : cases) {
        EXPECT_EQ(spec.isValid(), valid) << spec.logDescription();
    }
}

struct TextCase {
    DisplayModeSpec spec;
    std::string display;
    std::string log;
};

const std::vector<TextCase> textCases{
    {{2560, 1440, false, 60}, "2560 \xC3\x97 1440 @ 60 Hz", "2560 \xC3\x97 1440 @ 60 Hz"},
    {{2560, 1440, true, 60}, "2560 \xC3\x97 1440 @ 60 Hz", "2560 \xC3\x97 1440 @ 60 Hz HiDPI"},
    {{2560, 1440, false, 0}, "2560 \xC3\x97 1440", "2560 \xC3\x97 1440"},
    {{3008, 1692, true, 0}, "3008 \xC3\x97 1692", "3008 \xC3\x97 1692 HiDPI"},
    {{1, 1, false, 1}, "1 \xC3\x97 1 @ 1 Hz", "1 \xC3\x97 1 @ 1 Hz"},
    {{0, -5, true, -60}, "0 \xC3\x97 -5", "0 \xC3\x97 -5 HiDPI"},
    {{greatest, least, false, 1000},
     "9223372036854775807 \xC3\x97 -9223372036854775808 @ 1000 Hz",
     "9223372036854775807 \xC3\x97 -9223372036854775808 @ 1000 Hz"}};

void expectTextForms() {
    for (const TextCase& text : textCases) {
        EXPECT_EQ(text.spec.displayString(), text.display);
        EXPECT_EQ(text.spec.logDescription(), text.log);
    }
}

TEST(DisplayModeSpec, TextForms) {
    expectTextForms();
}

const std::string almostEqual = "\xE2\x89\x88";

struct RatioCase {
    std::int64_t width;
    std::int64_t height;
    std::string text;
};

const std::vector<RatioCase> ratioCases{
    {1920, 1200, "16:10"},
    {8, 5, "16:10"},
    {2560, 1600, "16:10"},
    {1920, 1080, "16:9"},
    {16, 9, "16:9"},
    {1366, 768, almostEqual + "16:9"},
    // Half a percent to either side of 16:9 would be 15920 and 16080.
    {15919, 9000, "1.77:1"},
    {15921, 9000, almostEqual + "16:9"},
    {16079, 9000, almostEqual + "16:9"},
    {16081, 9000, "1.79:1"},
    {3440, 1440, almostEqual + "21:9"},
    {2560, 1080, almostEqual + "21:9"},
    {23, 10, almostEqual + "21:9"},
    {2299, 1000, "2.30:1"},
    {242, 100, almostEqual + "21:9"},
    {2421, 1000, "2.42:1"},
    {21, 9, almostEqual + "21:9"},
    {1024, 600, "1.71:1"},
    {600, 1024, "0.59:1"},
    {1280, 1024, "5:4"},
    {1280, 480, "8:3"},
    {1024, 768, "4:3"},
    {1080, 1920, "9:16"},
    {99, 98, "99:98"},
    {98, 99, "98:99"},
    {100, 99, "1.01:1"},
    {99, 100, "0.99:1"},
    {1, 1, "1:1"},
    {3840, 1080, "32:9"},
    {0, 1080, ""},
    {-1, 1080, ""},
    {1920, 0, ""},
    {1920, -1080, ""},
    {least, least, ""},
    {greatest, greatest, "1:1"},
    {greatest, 1, "9223372036854775808.00:1"},
    {1, greatest, "0.00:1"}};

void expectRatios() {
    for (const RatioCase& ratio : ratioCases) {
        EXPECT_EQ(sized(ratio.width, ratio.height).aspectRatioString(), ratio.text)
            << ratio.width << " by " << ratio.height;
    }
}

TEST(DisplayModeSpec, AspectRatios) {
    expectRatios();
}

TEST(DisplayModeSpec, AspectRatioIsTheSameForEveryMultiple) {
    for (std::int64_t factor = 1; factor <= 1000; ++factor) {
        ASSERT_EQ(sized(8 * factor, 5 * factor).aspectRatioString(), "16:10") << factor;
        ASSERT_EQ(sized(16 * factor, 9 * factor).aspectRatioString(), "16:9") << factor;
    }
}

TEST(DisplayModeSpec, TextFormsDoNotFollowTheProcessLocale) {
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.changesStreams());
    expectTextForms();
    expectRatios();
    EXPECT_EQ(tolvaran::json::write(DisplayModeSpec{2560, 1440, true, 60000}),
              R"({"height":1440,"hz":60000,"scaled":true,"width":2560})");
    EXPECT_EQ(tolvaran::json::read<DisplayModeSpec>(
                  R"({"height":1440,"hz":60.0,"scaled":true,"width":1e3})"),
              (DisplayModeSpec{1000, 1440, true, 60}));
}

}  // namespace
}  // namespace tolvaran::tests
