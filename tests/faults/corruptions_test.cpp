#include "tests/faults/corruptions.hpp"

#include <gtest/gtest.h>

#include <set>

namespace tolvaran::tests {
namespace {

std::set<std::string> contents(const std::vector<Corruption>& corruptions) {
    std::set<std::string> all;
    for (const Corruption& corruption : corruptions) {
        all.insert(corruption.content);
    }
    return all;
}

TEST(Corruptions, CutAtEveryLengthButTheFullOne) {
    EXPECT_EQ(contents(cuts("abc")), (std::set<std::string>{"", "a", "ab"}));
}

TEST(Corruptions, GiveEveryByteEveryOtherValue) {
    const std::string original = "ab\xff";
    std::set<std::string> all;
    for (std::size_t n = 0; n < byteCorruptions(original); ++n) {
        const std::string corrupt = byteCorruption(original, n).content;
        EXPECT_EQ(corrupt.size(), original.size());
        all.insert(corrupt);
    }
    EXPECT_EQ(all.size(), 3U * 255);
    EXPECT_FALSE(all.contains(original));
}

TEST(Corruptions, ReachEveryFieldInEveryWay) {
    const auto all = contents(fieldCorruptions(R"({"a":[1,{"b":"x"}]})"));
    for (const char* const expected : {
             R"(null)",  // the whole
             R"({"a":[1,{"b":"x"}],"unknown key":{"of":"some later version"}})",
             R"({})",  // a field is missing
             R"({"a":null})",
             R"({"a":true})",
             R"({"a":{}})",
             R"({"a":1e999})",
             R"({"a":null,"a":[1,{"b":"x"}]})",  // or doubled
             R"({"a":[1,{"b":"x"}],"a":null})",
             R"({"a":[{"b":"x"}]})",
             R"({"a":["",{"b":"x"}]})",  // an element
             R"({"a":[1,{"b":-1}]})",
             R"({"a":[1,{}]})",  // a field further down
             R"({"a":[1,{"b":"x","b":null}]})",
         }) {
        EXPECT_TRUE(all.contains(expected)) << expected;
    }
    EXPECT_TRUE(fieldCorruptions("{").empty());
}

}  // namespace
}  // namespace tolvaran::tests
