#include "player/matching.hpp"

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

json result() {
    return json::parse(R"({
        "log": [{"at": 0, "level": "info", "message": "one"},
                {"at": 1, "level": "warn", "message": "two"}],
        "calls": [{"at": 0, "call": "f", "args": [1, "a"], "result": 0}],
        "notifications": [],
        "mac": {"dock": {"autoHide": true, "corners": [1, 2]}, "mainDisplay": 1},
        "files": {"State/a": {"version": 1, "list": [1]}, "State/b": "text", "State/n": null}})");
}

TEST(Matching, ListsEachFailedExpectation) {
    const struct {
        const char* expect;
        std::vector<std::string> failures;
    } rows[] = {
        {"{}", {}},
        // Objects match if every key given matches.
        {R"({"mac": {}})", {}},
        {R"({"mac": {"dock": {"autoHide": true}}})", {}},
        {R"({"mac": {"mainDisplay": 1.0}})", {}},
        {R"({"mac": {"dock": {"autoHide": false}, "mainDisplay": 2}})",
         {"expect.mac.dock.autoHide: expected false, found true",
          "expect.mac.mainDisplay: expected 2, found 1"}},
        {R"({"mac": {"dock": {"autoHide": 1}}})",
         {"expect.mac.dock.autoHide: expected 1, found true"}},
        {R"({"mac": {"other": 1}})", {"expect.mac.other: expected 1, found null"}},
        {R"({"mac": {"dock": [1]}})",
         {R"(expect.mac.dock: expected [1], found {"autoHide":true,"corners":[1,2]})"}},
        // Lists match whole.
        {R"({"mac": {"dock": {"corners": [1, 2]}}})", {}},
        {R"({"mac": {"dock": {"corners": [2, 1]}}})",
         {"expect.mac.dock.corners[0]: expected 2, found 1"}},
        {R"({"mac": {"dock": {"corners": [1]}}})",
         {"expect.mac.dock.corners[1]: expected the end of the list, found 2"}},
        {R"({"mac": {"dock": {"corners": [1, 2, 3]}}})",
         {"expect.mac.dock.corners[2]: expected 3, found the end of the list"}},
        {R"({"notifications": []})", {}},
        {R"({"notifications": [{}]})",
         {"expect.notifications[0]: expected {}, found the end of the list"}},
        // Objects within lists match like others.
        {R"({"calls": [{"call": "f"}]})", {}},
        {R"({"calls": [{"call": "f", "args": [1]}]})",
         {R"(expect.calls[0].args[1]: expected the end of the list, found "a")"}},
        {R"({"calls": []})",
         {"expect.calls[0]: expected the end of the list, found "
          R"({"args":[1,"a"],"at":0,"call":"f","result":0})"}},
        // The log is a list of "level: message".
        {R"({"log": ["info: one", "warn: two"]})", {}},
        {R"({"log": ["info: one"]})",
         {R"(expect.log[1]: expected the end of the list, found "warn: two")"}},
        {R"({"log": ["info: one", "info: two"]})",
         {R"(expect.log[1]: expected "info: two", found "warn: two")"}},
        // A file given as null must not exist.
        {R"({"files": {"State/c": null}})", {}},
        {R"({"files": {"State/b": null}})",
         {R"(expect.files.State/b: expected no file, found "text")"}},
        {R"({"files": {"State/n": null}})", {"expect.files.State/n: expected no file, found null"}},
        {R"({"files": {"State/a": {"version": 1}, "State/b": "text"}})", {}},
        {R"({"files": {"State/a": {"list": []}}})",
         {"expect.files.State/a.list[0]: expected the end of the list, found 1"}},
    };
    for (const auto& [expect, failures] : rows) {
        EXPECT_EQ(failedExpectations(json::parse(expect), result()), failures) << expect;
    }
}

}  // namespace
}  // namespace tolvaran::tests
