#include "restore/arrangement/alias_map.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

class AliasMapTest : public ProcessTest {
  protected:
    AliasMap load(const std::string& content) {
        writeFile(path_, content);
        return AliasMap::load(path_);
    }

    const std::string path_ = settings("preferences.json");
};

TEST_F(AliasMapTest, LivesInTheProfileDirectory) {
    const ScopedEnvironment profile("TOLVARAN_CONFIG_DIR", "/some/profile");
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
        EXPECT_EQ(takeLog(), Lines()) << what;
    }
}

TEST_F(AliasMapTest, ANumberOutOfRangeUnderAnUnusedKeyDoesNotMatter) {
    EXPECT_EQ(load(R"({"zoom":1e999,"knownDisplays":[{"ids":["a","b"],"scale":-1e999}]})"),
              AliasMap({.entries = {{.ids = {"a", "b"}}}}));
    EXPECT_EQ(takeLog(), Lines());
}

}  // namespace
}  // namespace tolvaran::tests
