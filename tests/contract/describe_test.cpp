// The description of this Mac: everything that tolvaran_describe asks for has an answer.
#include "tools/describe/describe.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tests/contract/the_mac.hpp"

namespace {

using nlohmann::json;

class Describe : public Contract {
  protected:
    const tolvaran::describe::Description description = tolvaran::describe::describeMac();
    const json& mac = description.mac;
};

// Left open: all of it, since most of it is private. A part that a Mac does not give has a note
// instead.
TEST_F(Describe, EveryPartIsThereOrNoted) {
    const std::set<std::string> parts = {"displays",         "mainDisplay",  "registry",
                                         "preferences",      "dock",         "menuBar",
                                         "cursorAssociated", "applications", "unavailable"};
    for (const std::string& part : parts) {
        EXPECT_TRUE(
            mac.contains(part) ||
            testing::Value(description.notes, testing::Contains(testing::StartsWith(part + " "))))
            << part;
    }
    for (const auto& [key, value] : mac.items()) {
        EXPECT_TRUE(parts.contains(key)) << key;
    }
}

// Documented: the main display is an active one. Left open: whether the current mode is among the
// listed ones, which the restore of modes relies on.
TEST_F(Describe, TheDisplaysAreListedWithTheirModes) {
    ASSERT_TRUE(mac.contains("displays"));
    ASSERT_FALSE(mac["displays"].empty());
    std::set<std::int64_t> ids;
    for (const json& display : mac["displays"]) {
        ASSERT_TRUE(display.contains("modes") && display.contains("mode"));
        ids.insert(display["id"].get<std::int64_t>());
        EXPECT_EQ(display["frame"].size(), 4U);
        std::set<std::int64_t> numbers;
        for (const json& mode : display["modes"]) {
            numbers.insert(mode["number"].get<std::int64_t>());
        }
        EXPECT_TRUE(numbers.contains(display["mode"].get<std::int64_t>())) << display["id"];
    }
    EXPECT_TRUE(ids.contains(mac["mainDisplay"].get<std::int64_t>()));
}

}  // namespace
