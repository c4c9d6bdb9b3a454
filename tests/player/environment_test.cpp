#include "player/environment.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

/// The value of a variable; none if it is not set.
std::optional<std::string> variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

TEST(TemporaryEnvironment, HoldsForAWhile) {
    const ScopedEnvironment set("TOLVARAN_TEST_SET", "before");
    const ScopedEnvironment removed("TOLVARAN_TEST_REMOVED", "");
    const ScopedEnvironment missing("TOLVARAN_TEST_MISSING", std::nullopt);
    {
        const TemporaryEnvironment environment({{"TOLVARAN_TEST_SET", "meanwhile"},
                                                {"TOLVARAN_TEST_REMOVED", std::nullopt},
                                                {"TOLVARAN_TEST_MISSING", ""}});
        EXPECT_EQ(variable("TOLVARAN_TEST_SET"), "meanwhile");
        EXPECT_EQ(variable("TOLVARAN_TEST_REMOVED"), std::nullopt);
        EXPECT_EQ(variable("TOLVARAN_TEST_MISSING"), "");
    }
    EXPECT_EQ(variable("TOLVARAN_TEST_SET"), "before");
    EXPECT_EQ(variable("TOLVARAN_TEST_REMOVED"), "");
    EXPECT_EQ(variable("TOLVARAN_TEST_MISSING"), std::nullopt);
}

}  // namespace
}  // namespace tolvaran::tests
