#include "restore/modes/resolution_originals_store.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "restore/paths/tolvaran_paths.hpp"
#include "tests/support/decimal_comma_locale.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

namespace Store = ResolutionOriginalsStore;

const std::string unusable =
    "warn: resolution originals file missing/wrong version/unparseable, starting fresh";

const std::string oneEntry =
    R"({"entries":{"HW-1552-41234-0":{"height":1440,"hz":60,"scaled":true,"width":2560}},)"
    R"("version":1})";

const DisplayModeSpec first{2560, 1440, true, 60};
const DisplayModeSpec second{1920, 1080, false, 0};

ResolutionOriginalsFile fileWith(std::map<std::string, DisplayModeSpec> entries) {
    return {.version = 1, .entries = std::move(entries)};
}

class ResolutionOriginals : public ProcessTest {
  protected:
    void write(const std::string& content) const { writeFile(path_, content); }
    std::optional<std::string> content() const { return readFile(path_); }

    const std::string path_ = state(".resolution-originals");
};

TEST_F(ResolutionOriginals, LieInTheStateDirectory) {
    const ScopedEnvironment root("TOLVARAN_APPLICATION_SUPPORT_DIR", "/support");
    EXPECT_EQ(Store::defaultPath(), "/support/State/.resolution-originals");
    EXPECT_EQ(Store::defaultPath(), TolvaranPaths::statePath(".resolution-originals"));
    EXPECT_EQ(Store::fileVersion, 1);
}

TEST_F(ResolutionOriginals, AreWrittenWithSortedKeys) {
    Store::save(fileWith({{"HW-1552-41234-0", first}}), path_);
    EXPECT_EQ(content(), oneEntry);
    Store::save(fileWith({{"b", second}, {"a", first}, {"B", {1, 2, false, 3}}}), path_);
    EXPECT_EQ(content(), R"({"entries":{"B":{"height":2,"hz":3,"scaled":false,"width":1},)"
                         R"("a":{"height":1440,"hz":60,"scaled":true,"width":2560},)"
                         R"("b":{"height":1080,"hz":0,"scaled":false,"width":1920}},"version":1})");
    EXPECT_THAT(files(), ElementsAre("State/", "State/.resolution-originals"));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, AreReadBackAsWritten) {
    constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
    const auto file = fileWith({{"HW-1-2-3", first},
                                {"", second},
                                {"\"\\\n\xC3\xA9", {1, 1, false, 0}},
                                {"huge", {greatest, greatest, true, greatest}}});
    Store::save(file, path_);
    EXPECT_EQ(Store::load(path_), file);
    EXPECT_EQ(Store::pendingEntries(path_), file.entries);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, AreWrittenTheSameInEveryRegion) {
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.changesStreams());
    Store::save(fileWith({{"HW-1552-41234-0", first}}), path_);
    EXPECT_EQ(content(), oneEntry);
    EXPECT_EQ(Store::load(path_), fileWith({{"HW-1552-41234-0", first}}));
}

TEST_F(ResolutionOriginals, MayHoldWholeNumbersWithAFractionAndUnknownKeys) {
    write(R"({"version":1.0,"writer":"x","entries":
             {"a":{"width":2560.0,"height":1.44e3,"scaled":true,"hz":6e1,"depth":8}}})");
    EXPECT_EQ(Store::load(path_), fileWith({{"a", first}}));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, SilentlyLoseEntriesThatNoDisplayCouldHave) {
    Store::save(
        fileWith({{"zero width", {0, 1, false, 60}},
                  {"negative width", {-2560, 1440, false, 60}},
                  {"zero height", {1, 0, false, 60}},
                  {"negative height", {1, std::numeric_limits<std::int64_t>::min(), true, 1}},
                  {"negative rate", {1, 1, false, -1}},
                  {"smallest", {1, 1, false, 0}},
                  {"usual", first}}),
        path_);
    const std::optional<std::string> before = content();
    EXPECT_EQ(Store::load(path_), fileWith({{"smallest", {1, 1, false, 0}}, {"usual", first}}));
    EXPECT_EQ(content(), before);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, HaveNoFileWhenThereAreNone) {
    write(oneEntry);
    Store::save(fileWith({}), path_);
    EXPECT_EQ(content(), std::nullopt);
    Store::save(fileWith({}), path_);
    EXPECT_THAT(files(), ElementsAre("State/"));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, PassOverAFileThatCannotBeRemoved) {
    std::filesystem::create_directories(path_);
    Store::save(fileWith({}), path_);
    EXPECT_TRUE(std::filesystem::is_directory(path_));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, StayWhenTheNewOnesCannotBeEncoded) {
    write(oneEntry);
    Store::save(fileWith({{"\xFF\xFE", first}}), path_);
    EXPECT_EQ(content(), oneEntry);
    EXPECT_THAT(takeLog(), ElementsAre("warn: Failed to encode resolution originals file"));
}

TEST_F(ResolutionOriginals, SayWhenTheyCannotBeWritten) {
    writeFile(path("State"), "a file where the directory should be");
    Store::save(fileWith({{"a", first}}), path_);
    EXPECT_THAT(
        takeLog(),
        ElementsAre(testing::StartsWith("warn: Failed to write resolution originals file: create " +
                                        path_ + ": Not a directory")));
    EXPECT_THAT(files(), ElementsAre("State"));
}

TEST_F(ResolutionOriginals, StayWhenTheyCannotBeReplaced) {
    writeFile(path_ + "/inside", "so that nothing can be renamed over this directory");
    Store::save(fileWith({{"a", first}}), path_);
    EXPECT_THAT(takeLog(),
                ElementsAre(testing::StartsWith(
                    "warn: Failed to write resolution originals file: rename " + path_ + ": ")));
    EXPECT_THAT(files(), ElementsAre("State/", "State/.resolution-originals/",
                                     "State/.resolution-originals/inside"));
}

TEST_F(ResolutionOriginals, RecordTheFirstModeOfADisplay) {
    Store::recordIfAbsent("a", first, path_);
    Store::recordIfAbsent("b", second, path_);
    EXPECT_EQ(Store::load(path_), fileWith({{"a", first}, {"b", second}}));
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, AreNotTouchedByASecondModeOfADisplay) {
    // In a form that the store does not write, so that a rewrite shows.
    const std::string text =
        R"( {"version":1, "entries":{"a":{"width":2560,"height":1440,"scaled":true,"hz":60},
            "invalid":{"width":0,"height":0,"scaled":true,"hz":60}}} )";
    write(text);
    Store::recordIfAbsent("a", second, path_);
    Store::recordIfAbsent("a", first, path_);
    EXPECT_EQ(content(), text);
}

TEST_F(ResolutionOriginals, RecordOverAnInvalidEntry) {
    Store::save(fileWith({{"a", {0, 0, false, 0}}, {"b", {-1, 0, false, 0}}}), path_);
    Store::recordIfAbsent("a", first, path_);
    EXPECT_EQ(content(), R"({"entries":{"a":{"height":1440,"hz":60,"scaled":true,"width":2560}},)"
                         R"("version":1})");
}

TEST_F(ResolutionOriginals, StartAfreshOverAFileThatCannotBeUsed) {
    write("{torn");
    Store::recordIfAbsent("HW-1552-41234-0", first, path_);
    EXPECT_THAT(takeLog(), ElementsAre(unusable));
    EXPECT_EQ(content(), oneEntry);
}

TEST_F(ResolutionOriginals, AreClearedOneByOne) {
    Store::save(fileWith({{"a", first}, {"b", second}}), path_);
    Store::clear("a", path_);
    EXPECT_EQ(Store::load(path_), fileWith({{"b", second}}));
    Store::clear("b", path_);
    EXPECT_EQ(content(), std::nullopt);
    Store::clear("b", path_);
    EXPECT_EQ(content(), std::nullopt);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionOriginals, AreNotRewrittenToClearWhatIsNotThere) {
    const std::string text =
        R"( {"version":1, "entries":{"a":{"width":2560,"height":1440,"scaled":true,"hz":60},
            "invalid":{"width":0,"height":0,"scaled":true,"hz":60}}} )";
    write(text);
    Store::clear("b", path_);
    Store::clear("", path_);
    Store::clear("invalid", path_);
    EXPECT_EQ(content(), text);
    Store::clear("a", path_);  // the invalid one goes with it
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionOriginals, AreLeftAloneByClearingWhenTheyCannotBeUsed) {
    write(R"({"entries":{},"version":2})");
    Store::clear("a", path_);
    EXPECT_THAT(takeLog(), ElementsAre(unusable));
    EXPECT_EQ(content(), R"({"entries":{},"version":2})");
}

}  // namespace
}  // namespace tolvaran::tests
