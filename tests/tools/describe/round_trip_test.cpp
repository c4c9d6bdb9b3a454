// A description gives back the Mac that the simulator was started with.
#include <filesystem>
#include <vector>

#include "tests/tools/describe/describe_mac.hpp"
#include "tests/tools/describe/untold.hpp"

namespace tolvaran {
namespace {

using nlohmann::json;
using tests::described;
using tests::fullMac;
using tests::Untold;

const std::vector<std::string> privateNames = {"SkyLight",
                                               "CGSMainConnectionID",
                                               "SLSGetMenuBarAutohideEnabled",
                                               "SLSGetMenuBarVisibilityOverrideOnDisplay",
                                               "SLSSetMenuBarVisibilityOverrideOnDisplay",
                                               "SLSCopyActiveMenuBarDisplayIdentifier",
                                               "SLSCopyManagedDisplaySpaces",
                                               "HIServices",
                                               "CoreDockGetExposeCornerActionsWithModifiers",
                                               "CoreDockSetExposeCornerActionWithModifier"};

std::vector<json> macsOfScenarios() {
    std::vector<json> macs;
    for (const auto& entry : std::filesystem::directory_iterator(TOLVARAN_SCENARIOS)) {
        if (entry.path().extension() == ".json") {
            std::ifstream file(entry.path());
            macs.push_back(json::parse(file).value("mac", json::object()));
        }
    }
    return macs;
}

/// The full Mac, with everything that a Mac keeps to itself.
json secretiveMac() {
    json mac = fullMac();
    mac["cursorAssociated"] = false;
    mac["displays"][0]["portUUID"] = "5c0f1a4e-9b1d-4e8c-8a55-1f6d3a1b7c02";
    mac["displays"][1]["portUUID"] = nullptr;
    mac["applications"].push_back({{"bundle", "com.apple.finder"}, {"pid", 300}});
    mac["applications"].push_back({{"bundle", nullptr}, {"pid", 301}});
    mac["preferences"]["com.apple.dock"]["tilesize"] = 48;
    mac["preferences"]["com.example.other"]["secret"] = "s";
    mac["preferences"]["global"]["AppleLanguages"] = {"de"};
    mac["registry"][0]["IODisplayEDID"] = "secret";
    return mac;
}

std::vector<json> handMadeMacs() {
    std::vector<json> macs = {fullMac(), secretiveMac(), {{"displays", json::array()}}};
    for (const std::string& name : privateNames) {
        json mac = fullMac();
        mac["unavailable"] = {name};
        macs.push_back(mac);
    }
    macs.push_back(secretiveMac());
    macs.back()["unavailable"] = privateNames;
    return macs;
}

/// Expects the Mac's description to be the machine, except for what the rows take out; counts in
/// `uses` how often each row did.
void expectGivenBack(const json& mac, std::vector<int>& uses) {
    const json told = described(mac).mac;
    json expected = simulator::machine();
    for (std::size_t row = 0; row < tests::untold().size(); ++row) {
        const json before = expected;
        tests::untold()[row].forget(expected);
        uses[row] += before == expected ? 0 : 1;
    }
    // As text, since JSON values compare equal when only their types differ.
    EXPECT_EQ(told.dump(1), expected.dump(1));
}

TEST(RoundTrip, EveryMacIsGivenBackAndEveryExceptionIsNeeded) {
    std::vector<json> macs = macsOfScenarios();
    EXPECT_GT(macs.size(), 80U);
    for (const json& mac : handMadeMacs()) {
        macs.push_back(mac);
    }
    std::vector<int> uses(tests::untold().size());
    for (const json& mac : macs) {
        expectGivenBack(mac, uses);
    }
    for (std::size_t row = 0; row < uses.size(); ++row) {
        EXPECT_GT(uses[row], 0) << tests::untold()[row].key << ": " << tests::untold()[row].reason;
    }
}

TEST(RoundTrip, TheFullMacNeedsNoExceptionExceptTheCursor) {
    const describe::Description description = described(fullMac());
    json expected = simulator::machine();
    expected.erase("cursorAssociated");
    EXPECT_EQ(description.mac.dump(1), expected.dump(1));
    EXPECT_EQ(description.notes,
              (std::vector<std::string>{"cursorAssociated is left out: macOS does not say; a "
                                        "scenario then assumes true"}));
}

TEST(RoundTrip, NothingElsePersonalIsDescribed) {
    const std::string told = described(secretiveMac()).mac.dump();
    for (const char* const secret : {"finder", "secret", "tilesize", "AppleLanguages"}) {
        EXPECT_EQ(told.find(secret), std::string::npos) << secret;
    }
}

TEST(RoundTrip, WhatIsGivenBackIsAMacAgain) {
    for (const json& mac : handMadeMacs()) {
        const json told = described(mac).mac;
        EXPECT_EQ(described(told).mac, told);
    }
}

TEST(RoundTrip, OnlyReads) {
    described(fullMac());
    for (const json& call : simulator::calls()) {
        EXPECT_THAT(
            call["call"].get<std::string>(),
            testing::AnyOf("CoreDockGetAutoHideEnabled", "SLSGetMenuBarVisibilityOverrideOnDisplay",
                           "CoreDockGetExposeCornerActionsWithModifiers"));
    }
    EXPECT_EQ(simulator::calls().size(), 5U);
}

}  // namespace
}  // namespace tolvaran
