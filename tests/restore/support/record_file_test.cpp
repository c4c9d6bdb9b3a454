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

    static Record fromJSON(const json::Value& value) {
        const json::Fields fields(value);
        return {fields.required<std::int64_t>("version"), fields.required<double>("number")};
    }
    json::Value toJSON() const { return json::Object{{"version", version}, {"number", number}}; }
};

TEST(RecordFile, LoadsWhatItSaved) {
    const TemporaryDirectory directory;
    const LogCapture log;
    save(Record{3, 1.5}, directory / "State/record", "test file");
    EXPECT_EQ(readFile(directory / "State/record"), R"({"number":1.5,"version":3})");
    EXPECT_EQ(load<Record>(directory / "State/record", 3, "bad")->number, 1.5);
    EXPECT_EQ(log.lines(), Lines{});
}

TEST(RecordFile, AMissingFileIsNoneWithoutAWord) {
    const TemporaryDirectory directory;
    const LogCapture log;
    EXPECT_FALSE(load<Record>(directory / "record", 3, "bad").has_value());
    EXPECT_EQ(log.lines(), Lines{});
}

TEST(RecordFile, EverythingElseIsNoneWithTheWarning) {
    const TemporaryDirectory directory;
    for (const std::string content : {"", "{}", "[]", R"({"version":2,"number":1})",
                                      R"({"version":true,"number":1})", R"({"version":3})"}) {
        LogCapture log;
        writeFile(directory / "record", content);
        EXPECT_FALSE(load<Record>(directory / "record", 3, "bad").has_value()) << content;
        EXPECT_EQ(log.lines(), Lines{"warn: bad"}) << content;
        EXPECT_EQ(readFile(directory / "record"), content);
    }
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
