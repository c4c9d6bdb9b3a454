#include "simulator/machine/readable_text.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tolvaran::tests {
namespace {

using namespace simulator;

TEST(ReadableText, ReplacesOnlyWhatIsNotUtf8) {
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(readableText(""), "");
    EXPECT_EQ(readableText("a\n\"\xE2\x82\xAC\""), "a\n\"\xE2\x82\xAC\"");
    EXPECT_EQ(readableText("a\xFFz"), "a" + replacement + "z");
    EXPECT_EQ(readableText("cut off \xE2\x82"), "cut off " + replacement);
}

}  // namespace
}  // namespace tolvaran::tests
