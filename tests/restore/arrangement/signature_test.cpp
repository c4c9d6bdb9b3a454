#include "restore/arrangement/zigzag.hpp"

#include <gtest/gtest.h>

namespace tolvaran::tests {
namespace {

struct Case {
    std::vector<std::string> canonicalIDs;
    std::string signature;
};

TEST(Signature, IsTheSortedIDsJoinedWithCommas) {
    const Case cases[] = {
        {{}, ""},
        {{"a"}, "a"},
        {{"b", "a", "c"}, "a,b,c"},
        {{"a", "b", "c"}, "a,b,c"},
        {{"b", "a", "b"}, "a,b,b"},
        {{"", "a"}, ",a"},
        {{"a", "B", "_", "2", "10"}, "10,2,B,_,a"},
        {{"HW-2-1-1", "HW-10-1-1"}, "HW-10-1-1,HW-2-1-1"},
        {{"\xc3\xa9", "z"}, "z,\xc3\xa9"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Zigzag::signature(c.canonicalIDs), c.signature);
    }
}

TEST(Signature, DoesNotDependOnTheOrderOfListing) {
    std::vector<std::string> ids = {"HW-1-1-1", "HW-1-1-2", "HW-1-1-2", "Display-7"};
    std::sort(ids.begin(), ids.end());
    do {
        EXPECT_EQ(Zigzag::signature(ids), "Display-7,HW-1-1-1,HW-1-1-2,HW-1-1-2");
    } while (std::next_permutation(ids.begin(), ids.end()));
}

}  // namespace
}  // namespace tolvaran::tests
