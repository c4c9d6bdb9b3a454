#include "restore/arrangement/alias_map.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/bad_input.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran {
namespace {

using tests::BadInput;
using tests::Holds;
using tests::writeFile;
using Lines = std::vector<std::string>;

const Lines unparseable = {
    "warn: AliasMap: preferences.json unparseable, falling back to identity"};

class AliasMapTest : public ::testing::Test {
  protected:
    AliasMap load(const std::string& content) {
        writeFile(path_, content);
        return AliasMap::load(path_);
    }

    tests::TemporaryDirectory directory_;
    const std::string path_ = directory_ / "preferences.json";
    tests::LogCapture log_;
};

TEST_F(AliasMapTest, LivesInTheProfileDirectory) {
    const tests::ScopedEnvironment profile("TOLVARAN_CONFIG_DIR", "/some/profile");
    EXPECT_EQ(AliasMap::defaultPreferencesPath(), "/some/profile/preferences.json");
}

TEST_F(AliasMapTest, CanonicalIDIsTheFirstIDOfTheFirstEntryThatHasTheID) {
    const AliasMap map{.entries = {
                           {.ids = {"a", "b", "c"}},
                           {.ids = {}},
                           {.ids = {"d", "b", "e"}},
                           {.ids = {"e"}},
                           {.ids = {"", "blank"}},
                       }};
    const std::pair<std::string, std::string> cases[] = {
        {"a", "a"}, {"b", "a"}, {"c", "a"}, {"d", "d"},   {"e", "d"},
        {"f", "f"}, {"A", "A"}, {"", ""},   {"ab", "ab"}, {"blank", ""},
    };
    for (const auto& [id, canonical] : cases) {
        EXPECT_EQ(map.canonicalID(id), canonical) << id;
    }
}

TEST_F(AliasMapTest, WithoutEntriesItIsTheIdentity) {
    EXPECT_EQ(AliasMap().canonicalID("HW-1-2-3"), "HW-1-2-3");
    EXPECT_EQ(AliasMap().canonicalID(""), "");
}

TEST_F(AliasMapTest, ReadsTheKnownDisplaysAndNothingElse) {
    const std::tuple<std::string, std::string, std::vector<std::vector<std::string>>> cases[] = {
        {"an example",
         R"({"knownDisplays":[{"ids":["HW-1552-41234-0","37D8832A-2D66-02CA-B9F7-8F30A301B230"]}]})",
         {{"HW-1552-41234-0", "37D8832A-2D66-02CA-B9F7-8F30A301B230"}}},
        {"other keys",
         R"({"theme":{"ids":1},"knownDisplays":[{"name":null,"ids":["a"]}],"version":"x"})",
         {{"a"}}},
        {"no IDs", R"({"knownDisplays":[{"ids":[]},{"ids":["a","a"]}]})", {{}, {"a", "a"}}},
        {"no displays", R"({"knownDisplays":[]})", {}},
        {"null", R"({"knownDisplays":null})", {}},
        {"no such key", R"({"KnownDisplays":[{"ids":["a"]}]})", {}},
        {"the key twice: the last counts",
         R"({"knownDisplays":[{"ids":["a"]}],"knownDisplays":[{"ids":["b"]}]})",
         {{"b"}}},
        {"white space", " {\n\t\"knownDisplays\" : [ { \"ids\" : [ \"a\" ] } ] }\r\n", {{"a"}}},
        {"escapes",
         R"({"knownDisplays":[{"ids":["\u00e9\ud83d\ude00"]}]})",
         {{"\xc3\xa9\xf0\x9f\x98\x80"}}},
    };
    for (const auto& [what, content, ids] : cases) {
        AliasMap expected;
        for (const auto& entry : ids) {
            expected.entries.push_back({.ids = entry});
        }
        EXPECT_EQ(load(content), expected) << what;
        EXPECT_EQ(log_.take(), Lines()) << what;
    }
}

TEST_F(AliasMapTest, ANumberOutOfRangeCostsTheAliasesNothingWhereNobodyReadsIt) {
    EXPECT_EQ(load(R"({"zoom":1e999,"knownDisplays":[{"ids":["a","b"],"scale":-1e999}]})"),
              AliasMap({.entries = {{.ids = {"a", "b"}}}}));
    EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(AliasMapTest, WhatCannotBeReadIsSilentlyTheIdentity) {
    EXPECT_EQ(AliasMap::load(path_), AliasMap());
    EXPECT_EQ(AliasMap::load(directory_.path()), AliasMap());
    EXPECT_EQ(AliasMap::load(""), AliasMap());
    EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(AliasMapTest, WhatDoesNotDecodeIsTheIdentityWithAWarning) {
    const nlohmann::json good = {{"knownDisplays", {{{"ids", {"a", "b"}}}, {{"ids", {"c"}}}}}};
    std::vector<BadInput> inputs = tests::truncations(good.dump());
    for (const auto& more : {tests::wrongText(good.dump()),
                             tests::wrongFields(good, {{"/knownDisplays/0", Holds::object},
                                                       {"/knownDisplays/1/ids", Holds::list},
                                                       {"/knownDisplays/0/ids/1", Holds::text}})}) {
        inputs.insert(inputs.end(), more.begin(), more.end());
    }
    for (const char* const wrong : {"true", "1", "\"a\"", "{}"}) {
        inputs.push_back(
            {"knownDisplays of another type", std::string("{\"knownDisplays\":") + wrong + "}"});
    }
    for (const BadInput& input : inputs) {
        EXPECT_EQ(load(input.text), AliasMap()) << input.what;
        EXPECT_EQ(log_.take(), unparseable) << input.what;
        EXPECT_EQ(tests::readFile(path_), input.text) << input.what;
    }
}

TEST_F(AliasMapTest, ReadsAFileOfFiftyMegabytes) {
    const nlohmann::json good = {{"knownDisplays", {{{"ids", {"a", "b"}}}}}};
    EXPECT_EQ(load(tests::padded(good.dump(), 50'000'000)).canonicalID("b"), "a");
    EXPECT_EQ(log_.lines(), Lines());
}

}  // namespace
}  // namespace tolvaran
