#include "restore/arrangement/display_connections.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/support/cf_values.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Serials = std::vector<std::string>;

/// Three services, and the serials of those visited; "none" for one without properties.
class DisplayConnections : public ProcessTest {
  protected:
    DisplayConnections() {
        json registry = json::array();
        for (const char* const serial : {"A", "B", "C"}) {
            registry.push_back({{"DisplaySerialString", serial}});
        }
        start({{"registry", registry}});
    }

    bool visit(std::size_t wanted) {
        return visitDisplayConnections([&](CFDictionaryRef properties) {
            seen_.push_back(
                properties == nullptr
                    ? "none"
                    : cf::string(cf::value(properties, serialProperty())).value_or("?"));
            return seen_.size() < wanted;
        });
    }

    Serials seen_;
};

TEST_F(DisplayConnections, AreShownInOrder) {
    EXPECT_TRUE(visit(100));
    EXPECT_EQ(seen_, (Serials{"A", "B", "C"}));
}

TEST_F(DisplayConnections, AreShownUntilTheVisitorHasEnough) {
    EXPECT_TRUE(visit(2));
    EXPECT_EQ(seen_, (Serials{"A", "B"}));
}

TEST_F(DisplayConnections, OneWithoutPropertiesIsShownAsNull) {
    simulator::addFault(
        {{"call", "IORegistryEntryCreateCFProperties"}, {"skip", 1}, {"times", 1}, {"result", 5}});
    EXPECT_TRUE(visit(100));
    EXPECT_EQ(seen_, (Serials{"A", "none", "C"}));
}

TEST_F(DisplayConnections, ARegistryThatRefusesDoesNotCountAsEmpty) {
    simulator::onCall("IOIteratorNext", [] { ADD_FAILURE() << "there is no iterator"; });
    simulator::addFault({{"call", "IOServiceGetMatchingServices"}, {"times", 1}, {"result", 5}});
    EXPECT_FALSE(visit(100));
    simulator::addFault({{"call", "IOServiceMatching"}, {"times", 1}, {"effect", false}});
    EXPECT_FALSE(visit(100));
    // A registry without such services may return no iterator at all.
    simulator::addFault({{"call", "IOServiceGetMatchingServices"}, {"times", 1}, {"result", 0}});
    EXPECT_TRUE(visit(100));
    EXPECT_EQ(seen_, Serials());
}

}  // namespace
}  // namespace tolvaran::tests
