#include "restore/support/record_file.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using namespace record_file;

struct Record {
    std::int64_t version = 0;
    double number = 0;
};

}  // namespace
}  // namespace tolvaran::tests

template <>
struct tolvaran::json::Format<tolvaran::tests::Record> {
    using Record = tests::Record;
    static constexpr auto fields =
        std::tuple(required("version", &Record::version), required("number", &Record::number));
};

namespace tolvaran::tests {
namespace {

class RecordFile : public ProcessTest {};

const Expectation versionThree{.version = 3, .warning = "bad"};

TEST_F(RecordFile, LoadsWhatItSaved) {
    save(Record{3, 1.5}, path("State/record"), "test file");
    EXPECT_EQ(readFile(path("State/record")), R"({"number":1.5,"version":3})");
    EXPECT_EQ(load<Record>(path("State/record"), versionThree)->number, 1.5);
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(RecordFile, AMissingFileSilentlyCountsAsNone) {
    EXPECT_FALSE(load<Record>(path("record"), versionThree).has_value());
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(RecordFile, EverythingElseCountsAsNoneWithTheWarning) {
    for (const std::string content : {"", "{}", "[]", R"({"version":2,"number":1})",
                                      R"({"version":true,"number":1})", R"({"version":3})"}) {
        writeFile(path("record"), content);
        EXPECT_FALSE(load<Record>(path("record"), versionThree).has_value()) << content;
        EXPECT_EQ(takeLog(), Lines{"warn: bad"}) << content;
        EXPECT_EQ(readFile(path("record")), content);
    }
}

TEST_F(RecordFile, GivesTheCauseOnlyIfAskedTo) {
    const std::string record = path("record");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"{", "invalid JSON at byte 2"},
        {R"({"number":1})", "\"version\" is missing"},
        {R"({"version":2,"number":1})", "\"version\": is not 3"},
    };
    for (const auto& [content, cause] : rows) {
        writeFile(record, content);
        EXPECT_FALSE(load<Record>(record, {.version = 3, .warning = "bad: ", .withReason = true}));
        EXPECT_EQ(takeLog(), Lines{"warn: bad: " + cause});
        EXPECT_FALSE(load<Record>(record, {.version = 3}));
        EXPECT_EQ(takeLog(), Lines{});
    }
}

TEST_F(RecordFile, AcceptsAnyVersionIfNoneIsExpected) {
    writeFile(path("record"), R"({"version":9,"number":1})");
    EXPECT_EQ(load<Record>(path("record"), {.warning = "bad"})->version, 9);
}

TEST_F(RecordFile, SaysWhatCouldNotBeEncodedOrWritten) {
    writeFile(path("record"), "old");
    writeFile(path("directory/x"), "");
    save(Record{3, std::numeric_limits<double>::infinity()}, path("record"), "test file");
    save(Record{3, 1}, path("directory"), "test file");
    EXPECT_EQ(takeLog(), (Lines{"warn: Failed to encode test file",
                                "warn: Failed to write test file: rename " +
                                    path("directory: Is a directory")}));
    EXPECT_EQ(readFile(path("record")), "old");
}

TEST_F(RecordFile, SaysThatARecordStaysBecauseAnotherProcessHasChangedIt) {
    const std::string record = path("State/record");
    save(Record{3, 1}, record, "test file");
    const files::Recovery recovery(record, files::Recovery::Scope::record);
    inAnotherProcess([&] { save(Record{3, 2}, record, "test file"); });
    update<Record>(record, versionThree, "test file",
                   [](Record&) { return files::Change::Kind::removal; });
    EXPECT_EQ(takeLog(), Lines{"warn: Failed to write test file: replace " + record +
                               ": another process has changed it"});
    EXPECT_EQ(load<Record>(record, versionThree)->number, 2);
}

TEST_F(RecordFile, IsSilentAboutARemovalThatFails) {
    const std::string record = path("record");
    save(Record{3, 1}, record, "test file");
    failCalls("rename", "EIO");
    failCalls("unlink", "EIO");
    update<Record>(record, versionThree, "test file",
                   [](Record&) { return files::Change::Kind::removal; });
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(load<Record>(record, versionThree)->number, 1);
}

}  // namespace
}  // namespace tolvaran::tests
