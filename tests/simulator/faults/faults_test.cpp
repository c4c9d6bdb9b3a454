#include "simulator/faults/faults.hpp"

#include <string>
#include <vector>

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Faults : public SimulatorTest {};

std::vector<int> results(int calls) {
    std::vector<int> all;
    for (int i = 0; i < calls; ++i) {
        all.push_back(beginCall("CGMainDisplayID").resultOr(0));
    }
    return all;
}

TEST_F(Faults, FaultsMeetTheCallsTheyName) {
    const struct {
        json fault;
        std::vector<int> results;
    } rows[] = {
        {{{"call", "CGMainDisplayID"}, {"result", 9}}, {9, 9, 9, 9}},
        {{{"call", "IOIteratorNext"}, {"result", 9}}, {0, 0, 0, 0}},
        {{{"call", "CGMainDisplayID"}, {"result", 9}, {"skip", 1}}, {0, 9, 9, 9}},
        {{{"call", "CGMainDisplayID"}, {"result", 9}, {"times", 2}}, {9, 9, 0, 0}},
        {{{"call", "CGMainDisplayID"}, {"result", 9}, {"skip", 1}, {"times", 2}}, {0, 9, 9, 0}},
        {{{"call", "CGMainDisplayID"}, {"result", 9}, {"times", 0}}, {0, 0, 0, 0}},
    };
    for (const auto& [fault, expected] : rows) {
        clearFaults();
        addFault(fault);
        EXPECT_EQ(results(4), expected) << fault;
        EXPECT_EQ(faultsMet(),
                  static_cast<std::size_t>(std::count(expected.begin(), expected.end(), 9)));
    }
}

TEST_F(Faults, AForcedResultSuppressesTheEffectByDefault) {
    const struct {
        json fault;
        bool performs;
        bool forced;
        std::int64_t delayReads;
    } rows[] = {
        {{{"result", 5}}, false, true, 0},
        {{{"result", 5}, {"effect", true}}, true, true, 0},
        {{{"result", 5}, {"effect", false}}, false, true, 0},
        {{{"effect", false}}, false, false, 0},
        {{{"delayReads", 3}}, true, false, 3},
    };
    const std::string function = "SLSSetMenuBarVisibilityOverrideOnDisplay";
    for (const auto& [keys, performs, forced, delayReads] : rows) {
        clearFaults();
        json fault = keys;
        fault["call"] = function;
        addFault(fault);
        const CallFault met = beginCall(function);
        EXPECT_EQ(met.performs, performs) << fault;
        EXPECT_EQ(met.forcedResult.has_value(), forced) << fault;
        EXPECT_EQ(met.delayReads, delayReads) << fault;
    }
}

TEST_F(Faults, TheFirstOfSeveralFaultsThatAppliesCounts) {
    addFault({{"call", "CGMainDisplayID"}, {"result", 1}, {"times", 1}});
    addFault({{"call", "CGMainDisplayID"}, {"result", 2}, {"skip", 1}, {"times", 1}});
    addFault({{"call", "CGMainDisplayID"}, {"result", 3}, {"times", 3}});
    EXPECT_EQ(results(4), (std::vector{1, 2, 3, 0}));
}

TEST_F(Faults, MalformedFaultsAreRefused) {
    const struct {
        const char* fault;
        const char* message;
    } rows[] = {
        {"[]", "the document: must be an object"},
        {R"({"result": 1})", "call: is missing"},
        {R"({"call": 1, "result": 1})", "call: must be a string"},
        {R"({"call": "CGMainDisplayID"})",
         "the document: must have a result, an effect or delayReads"},
        {R"({"call": "CGMainDisplayID", "effect": 1})", "effect: must be true or false"},
        {R"({"call": "CGMainDisplayID", "result": 1, "skip": -1})",
         "skip: must be a whole number from 0 to 9223372036854775807"},
        {R"({"call": "CGMainDisplayID", "result": 1, "times": "2"})",
         "times: must be a whole number from 0 to 9223372036854775807"},
        {R"({"call": "CGNope", "result": 1})", "call: is not a function that can be made to fail"},
        {R"({"call": "CGMainDisplayID", "delayReads": 1})",
         "delayReads: only SLSSetMenuBarVisibilityOverrideOnDisplay can be delayed"},
        {R"({"call": "SLSSetMenuBarVisibilityOverrideOnDisplay", "delayReads": 0.5})",
         "delayReads: must be a whole number from 0 to 9223372036854775807"},
        {R"({"call": "CGMainDisplayID", "result": 1, "time": 2})", "time: unknown key"},
        {R"({"call": "write", "result": "ENOSUCH"})",
         "result: is not the name of an error that the simulator knows"},
        {R"({"call": "CGMainDisplayID", "result": "text"})",
         "result: must be a whole number from 0 to 4294967295"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(thrownBy([&] { addFault(json::parse(row.fault)); }), row.message);
    }
    EXPECT_EQ(results(1), std::vector{0}) << "none was added";
}

TEST_F(Faults, WorkIsPerformedAtTheStartOfACall) {
    std::vector<std::string> happened;
    onCall("CGMainDisplayID", [&] {
        happened.emplace_back("first");
        addFault({{"call", "CGMainDisplayID"}, {"result", 7}, {"times", 1}});
    });
    onCall("CGMainDisplayID", [&] { happened.emplace_back("second"); });
    onCall("IOIteratorNext", [&] { happened.emplace_back("other"); });
    EXPECT_EQ(results(1), std::vector{7}) << "before the fault is looked up";
    EXPECT_THAT(happened, testing::ElementsAre("first", "second"));
    reset();
    EXPECT_EQ(results(1), std::vector{0});
    EXPECT_EQ(happened.size(), 2U);
}

}  // namespace
}  // namespace tolvaran::tests
