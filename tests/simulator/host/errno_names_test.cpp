#include "simulator/host/errno_names.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>

namespace tolvaran::tests {
namespace {

using namespace simulator;

TEST(ErrnoNames, AreThoseOfTheHost) {
    EXPECT_EQ(errorCode("ENOENT"), ENOENT);
    EXPECT_EQ(errorCode("ENOSPC"), ENOSPC);
    EXPECT_EQ(errorCode("EINTR"), EINTR);
}

TEST(ErrnoNames, OtherTextIsNotAName) {
    for (const char* const name : {"", "enoent", "ENOENT ", "2", "EWHATEVER"}) {
        EXPECT_EQ(errorCode(name), std::nullopt) << name;
    }
}

}  // namespace
}  // namespace tolvaran::tests
