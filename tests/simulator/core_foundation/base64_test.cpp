#include "simulator/core_foundation/base64.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

TEST(Base64, EncodesAndDecodes) {
    const struct {
        std::string bytes;
        std::string text;
    } rows[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"},
                {std::string("\xFF\x00\xFE", 3), "/wD+"}};
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(base64Encoded(bytes), text);
        EXPECT_EQ(base64Decoded(text), bytes);
    }
}

TEST(Base64, RefusesOtherText) {
    for (const char* const text :
         {"Z", "Zg", "Zg=", "Zg= ", "=", "====", "Z===", "Zg==Zg==", "Z-9v"}) {
        EXPECT_THROW(base64Decoded(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace tolvaran::tests
