#include "restore/support/record_file.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/log_capture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::record_file {
namespace {

using tests::LogCapture;
using tests::readFile;
using tests::TemporaryDirectory;
using tests::writeFile;
using Lines = std::vector<std::string>;

struct Record {
    std::int64_t version = 0;
    double number = 0;
};

}  // namespace
}  // namespace tolvaran::record_file

template <>
struct tolvaran::json::Format<tolvaran::record_file::Record> {
    using Record = record_file::Record;
    static constexpr auto fields =
        std::tuple(required("version", &Record::version), required("number", &Record::number));
};

namespace tolvaran::record_file {
namespace {

const Expectation versionThree{.version = 3, .warning = "bad"};

TEST(RecordFile, LoadsWhatItSaved) {
    const TemporaryDirectory directory;
    const LogCapture log;
    save(Record{3, 1.5}, directory / "State/record", "test file");
    EXPECT_EQ(readFile(directory / "State/record"), R"({"number":1.5,"version":3})");
    EXPECT_EQ(load<Record>(directory / "State/record", versionThree)->number, 1.5);
    EXPECT_EQ(log.lines(), Lines{});
}

TEST(RecordFile, AMissingFileIsNoneWithoutALine) {
    const TemporaryDirectory directory;
    const LogCapture log;
    EXPECT_FALSE(load<Record>(directory / "record", versionThree).has_value());
    EXPECT_EQ(log.lines(), Lines{});
}

TEST(RecordFile, EverythingElseIsNoneWithTheWarning) {
    const TemporaryDirectory directory;
    for (const std::string content : {"", "{}", "[]", R"({"version":2,"number":1})",
                                      R"({"version":true,"number":1})", R"({"version":3})"}) {
        LogCapture log;
        writeFile(directory / "record", content);
        EXPECT_FALSE(load<Record>(directory / "record", versionThree).has_value()) << content;
        EXPECT_EQ(log.lines(), Lines{"warn: bad"}) << content;
        EXPECT_EQ(readFile(directory / "record"), content);
    }
}

TEST(RecordFile, TellsTheCauseOnlyIfAskedTo) {
    const TemporaryDirectory directory;
    const std::string path = directory / "record";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"{", "invalid JSON at byte 2"},
        {R"({"number":1})", "\"version\" is missing"},
        {R"({"version":2,"number":1})", "\"version\": is not 3"},
    };
    for (const auto& [content, cause] : rows) {
        LogCapture log;
        writeFile(path, content);
        EXPECT_FALSE(load<Record>(path, {.version = 3, .warning = "bad: ", .tellsWhy = true}));
        EXPECT_EQ(log.take(), Lines{"warn: bad: " + cause});
        EXPECT_FALSE(load<Record>(path, {.version = 3}));
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST(RecordFile, AnyVersionWillDoWhereNoneIsExpected) {
    const TemporaryDirectory directory;
    writeFile(directory / "record", R"({"version":9,"number":1})");
    EXPECT_EQ(load<Record>(directory / "record", {.warning = "bad"})->version, 9);
}

TEST(RecordFile, SaysWhatCouldNotBeEncodedOrWritten) {
    const TemporaryDirectory directory;
    writeFile(directory / "record", "old");
    writeFile(directory / "directory/x", "");
    LogCapture log;
    save(Record{3, std::numeric_limits<double>::infinity()}, directory / "record", "test file");
    save(Record{3, 1}, directory / "directory", "test file");
    EXPECT_EQ(log.lines(), (Lines{"warn: Failed to encode test file",
                                  "warn: Failed to write test file: rename " +
                                      directory / "directory: Is a directory"}));
    EXPECT_EQ(readFile(directory / "record"), "old");
}

}  // namespace
}  // namespace tolvaran::record_file
