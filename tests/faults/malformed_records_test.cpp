// Reads every kind of record from files that hold something else: cut off at every length, with
// every field missing, doubled, null and of every other type, of another version, or with text that
// no record can have. What is not a record by design (tests/support/records) counts as missing, the
// log says so in the record's own words, and the file stays.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "simulator/simulator.hpp"
#include "tests/faults/corruptions.hpp"
#include "tests/support/records/records.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// `good` with one more member, whose value is `text` verbatim.
std::string withIgnoredKey(const std::string& good, const std::string& text) {
    return good.substr(0, good.size() - 1) + ",\"ignored\":" + text + "}";
}

/// Content that no record can have; some of it is in a key that readers otherwise ignore.
std::vector<Corruption> wrongText(const std::string& good) {
    constexpr std::size_t tooDeep = 100'000;
    constexpr std::size_t huge = 5'000'000;
    return {
        {"nothing but blanks", " \n\t "},
        {"a list", "[" + good + "]"},
        {"two values", good + good},
        {"something after the end", good + " trailing"},
        {"a comment", good + "// end"},
        {"one comma too many", good.substr(0, good.size() - 1) + ",}"},
        {"zero bytes", std::string(64, '\0')},
        {"a zero byte at the end", good + std::string(1, '\0')},
        {"UTF-16", std::string("\xff\xfe{\0}\0", 6)},
        {"an invalid UTF-8 byte", withIgnoredKey(good, "\"\xff\"")},
        {"an unfinished UTF-8 sequence", withIgnoredKey(good, "\"\xe2\x82\"")},
        {"an overlong UTF-8 sequence", withIgnoredKey(good, "\"\xc0\xaf\"")},
        {"a surrogate in UTF-8", withIgnoredKey(good, "\"\xed\xa0\x80\"")},
        {"a lone surrogate", withIgnoredKey(good, R"("\ud800")")},
        {"a line end within a text", withIgnoredKey(good, "\"\n\"")},
        {"NaN", withIgnoredKey(good, "NaN")},
        {"Infinity", withIgnoredKey(good, "-Infinity")},
        {"nested objects",
         withIgnoredKey(good, repeated("{\"a\":", tooDeep) + "1" + repeated("}", tooDeep))},
        {"nested lists", withIgnoredKey(good, repeated("[", tooDeep) + repeated("]", tooDeep))},
        {"lists that never end", std::string(tooDeep, '[')},
        {"5 MB of lists that never end", std::string(huge, '[')},
        {"5 MB that are not JSON", std::string(huge, 'x')},
        {"5 MB without an end",
         good.substr(0, good.size() - 1) + ",\"a\":\"" + std::string(huge, 'x')},
    };
}

/// The record with other version numbers; none if it has no version.
std::vector<Corruption> otherVersions(const std::string& good) {
    const json document = json::parse(good);
    std::vector<Corruption> result;
    if (!document.contains("version")) {
        return result;
    }
    const int version = document["version"];
    for (const json& other : std::vector<json>{0, -1, -version, version - 1, version + 1,
                                               version + 0.5, version + (std::int64_t{1} << 32),
                                               9223372036854775807, 18446744073709551615U, 1e308}) {
        json changed = document;
        changed["version"] = other;
        result.push_back({"version " + other.dump(), changed.dump()});
    }
    return result;
}

class MalformedRecord : public testing::TestWithParam<Record>, protected SimulatedProcess {
  protected:
    /// What the library reads from this content.
    std::string reading(const std::string& content) {
        writeFile(path_, content);
        return GetParam().read(path_);
    }

    /// The beginning of the log line for an unusable file, with the file's path.
    std::string unusableLine() const {
        std::string line = GetParam().unusableLine;
        const auto place = line.find(GetParam().path);
        return place == line.npos ? line : line.replace(place, GetParam().path.size(), path_);
    }

    void expectUnusable() {
        const Lines log = takeLog();
        ASSERT_EQ(log.size(), unusableLine().empty() ? 0U : 1U);
        EXPECT_TRUE(log.empty() || log[0].starts_with(unusableLine())) << log[0];
    }

    void check(const std::vector<Corruption>& corruptions) {
        for (const Corruption& corruption : corruptions) {
            SCOPED_TRACE(corruption.what);
            const std::string read = reading(corruption.content);
            if (isUsable(GetParam(), corruption.content)) {
                EXPECT_EQ(takeLog(), Lines{});
            } else {
                EXPECT_EQ(read, unusable_);
                expectUnusable();
            }
            EXPECT_TRUE(readFile(path_) == corruption.content) << "the file was not kept";
        }
    }

    const std::string path_ = path(GetParam().path);
    const std::string none_ = GetParam().read(path_);
    // A marker counts as pending even if it cannot be read.
    const std::string unusable_ = GetParam().fate == Fate::discarded ? none_ + ", pending" : none_;
};

TEST_P(MalformedRecord, CountsAsMissingAndStays) {
    const std::string& good = GetParam().example;
    ASSERT_TRUE(isUsable(GetParam(), good));
    ASSERT_NE(reading(good), none_);
    check(cuts(good));
    check(fieldCorruptions(good));
    check(otherVersions(good));
    check(wrongText(good));
}

TEST_P(MalformedRecord, IsDistinguishedFromAGoodOneAtFiftyMegabytes) {
    const std::string& good = GetParam().example;
    const std::string expected = reading(good);
    const std::string blanks(50'000'000, ' ');
    EXPECT_EQ(reading(withIgnoredKey(good, '"' + blanks + '"')), expected);
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(reading(blanks.substr(45'000'000) + good), expected);
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(reading(std::string(50'000'000, '[')), unusable_);
    expectUnusable();
}

TEST_P(MalformedRecord, IsDistinguishedFromAMissingOne) {
    const auto expectNone = [&](const std::string& place) {
        EXPECT_EQ(GetParam().read(place).substr(0, none_.size()), none_) << place;
        EXPECT_EQ(takeLog(), Lines{}) << place;
    };
    expectNone(path_);
    expectNone("");
    expectNone(path("no such directory/record"));
    expectNone(path(""));
    EXPECT_EQ(files(), Lines{});
    const std::string pipe = path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    expectNone(pipe);
    writeFile(path_, GetParam().example);
    failCalls("read", "EIO");
    expectNone(path_);
}

/// Every record that is read.
std::vector<Record> readRecords() {
    std::vector<Record> read = records();
    std::erase_if(read, [](const Record& record) { return record.fate == Fate::unread; });
    return read;
}

INSTANTIATE_TEST_SUITE_P(Records, MalformedRecord, testing::ValuesIn(readRecords()),
                         [](const auto& record) {
                             std::string name = record.param.name;
                             std::erase_if(name, [](unsigned char c) { return !std::isalnum(c); });
                             return name;
                         });

}  // namespace
}  // namespace tolvaran::tests
