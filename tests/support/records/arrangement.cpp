// The records of the arrangement: the originals, the marks, and the main application's preferences
// that fold the displays' names.
#include <optional>
#include <utility>

#include "restore/arrangement/formats.hpp"
#include "restore/arrangement/zigzag.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/support/records/checks.hpp"
#include "tests/support/records/rows.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using namespace checks;

// --- The files.

bool isPosition(const json& value) {
    return has(value, "uuid", isText) && has(value, "x", isNumber) && has(value, "y", isNumber);
}

template <int version>
bool isLayoutSets(const json& value) {
    return has(value, "version", isVersion<version>) &&
           has(value, "arrangements", isMapOf<isListOf<isListOf<isPosition>>>);
}

bool isKnownDisplay(const json& value) {
    return has(value, "ids", isListOf<isText>);
}

bool isOriginals(const json& value) {
    return has(value, "version", isVersion<2>) &&
           has(value, "arrangements", isMapOf<isListOf<isPosition>>);
}

bool isSeparatedSets(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "signatures", isListOf<isText>);
}

bool isPreferences(const json& value) {
    return mayHave(value, "knownDisplays", isListOf<isKnownDisplay>);
}

// --- Their end.

/// A mark may go once the layout is not one that only the main application makes.
bool marksMayBecome(const json& /*before*/, const json& /*after*/, const Moment& moment) {
    std::vector<DisplayFrame> frames;
    for (const json& display : moment.mac.at("displays")) {
        const json& frame = display.at("frame");
        frames.push_back({.displayID = display.at("id"),
                          .frame = CGRectMake(frame[0], frame[1], frame[2], frame[3])});
    }
    const auto log = std::exchange(RestoreLog::info, [](const std::string&) {});
    const bool isZigzag = Zigzag::isZigzag(frames);
    RestoreLog::info = log;
    return !isZigzag;
}

// --- What the library does with them.

const std::string exampleSet = "HW-1,HW-2";
const MarkedLayout exampleLayout = {{.uuid = "HW-1", .x = 0, .y = 0},
                                    {.uuid = "HW-2", .x = 800, .y = 0}};
const MarkedLayout otherExampleLayout = {{.uuid = "HW-1", .x = 0, .y = 0}};
const std::map<std::string, std::string> renaming = {{"HW-2", "HW-3"}};

void saveOriginals(const MarkedLayout& entries, const std::string& path) {
    OriginalsStore::save({.arrangements = {{exampleSet, entries}}}, path);
}

std::vector<Change> layoutWrites(const SetMarks& marks) {
    return {
        [=](const auto& path) { LayoutSets::premark(marks, exampleSet, exampleLayout, path); },
        [=](const auto& path) { LayoutSets::premark(marks, exampleSet, otherExampleLayout, path); },
        [=](const auto& path) { LayoutSets::mark(marks, exampleSet, exampleLayout, path); },
        [=](const auto& path) {
            LayoutSets::restoreCandidates(marks, exampleSet, {otherExampleLayout, exampleLayout},
                                          path);
        },
        [=](const auto& path) { LayoutSets::migrateCanonicalIDs(marks, renaming, path); },
        [=](const auto& path) { LayoutSets::clear(marks, "HW-1,HW-3", path); }};
}

const std::vector<Change> separatedChanges = {
    [](const auto& path) { SeparatedSetsStore::markSeparated(exampleSet, path); },
    [](const auto& path) { SeparatedSetsStore::markSeparated("HW-3", path); },
    [](const auto& path) { SeparatedSetsStore::migrateCanonicalIDs(renaming, path); },
    [](const auto& path) { SeparatedSetsStore::clearSeparated("HW-3", path); }};

// --- The failures that may lose them.

const std::string inFrames = "mac/displays/[0-9]+/frame/[0-9]";
const std::string markFiles = "State/(separated|side-pinned|native-mirrored)-sets\\.json";
const std::string inMarks = "files/State~1(separated|side-pinned|native-mirrored)-sets\\.json/.*";

const std::vector<Loss> marksLosses = {
    {{"CGDisplayBounds"},
     "",
     "record|" + inFrames + "|" + inMarks,
     "displays without bounds touch no other: a zigzag of them goes unseen until the next run"},
    {reading, markFiles, inMarks,
     "a mark that could not be read is not cleared; it stays until its set of displays is seen "
     "healthy again"},
};

// --- The rows.

const std::string framesAndMarks = inFrames +
                                   "|files/State~1(separated|side-pinned|native-mirrored)"
                                   "-sets\\.json.*";

const std::string layoutsExample =
    R"("arrangements":{"A,B":[[{"uuid":"A","x":0,"y":0},{"uuid":"B","x":800,"y":-2.5}]]}})";

/// A row of marks for sets of displays.
Record marks(const std::string& kind, bool (*isUsable)(const json&), const std::string& example,
             std::vector<Change> changes, std::function<std::string(const std::string&)> read) {
    return {
        .path = "State/" + kind + "-sets.json",
        .name = kind + " sets",
        .isUsable = isUsable,
        .fate = Fate::kept,
        .unusableLine = "warn: " + kind + "-sets file wrong version/unparseable, treating as empty",
        .places = framesAndMarks,
        .example = example,
        .mayBecome = marksMayBecome,
        .isRewritten = true,
        .notWritten = "warn: Failed to write " + kind + "-sets file: .*",
        .losses = marksLosses,
        .changes = std::move(changes),
        .read = std::move(read)};
}

Record originals() {
    return {
        .path = "State/.display-originals",
        .name = "originals",
        .isUsable = isOriginals,
        .fate = Fate::kept,
        .unusableLine = "warn: originals file missing/wrong version/unparseable, starting fresh",
        .places = framesAndMarks,
        .example = R"({"version":2,"arrangements":{"A,B":[{"uuid":"A","x":0,"y":0},)"
                   R"({"uuid":"B","x":800,"y":-2.5}]}})",
        .isRewritten = true,
        .notWritten = "warn: Failed to write originals file: .*",
        .losses = {{reading, "State/\\.display-originals", inFrames,
                    "unreadable originals count as an empty store, and the generated row takes "
                    "their place"}},
        .changes = {[](const auto& path) { saveOriginals(exampleLayout, path); },
                    [](const auto& path) { saveOriginals(otherExampleLayout, path); },
                    [](const auto& path) { saveOriginals(exampleLayout, path); },
                    [](const auto& path) { OriginalsStore::migrateUUIDs(renaming, path); }},
        .read = [](const auto& path) { return textOf(OriginalsStore::load(path)); }};
}

/// The main application's; this system only reads it.
Record preferences() {
    return {
        .path = "Settings/preferences.json",
        .name = "preferences",
        .isUsable = isPreferences,
        .fate = Fate::kept,
        .unusableLine = "warn: AliasMap: preferences.json unparseable, falling back to identity",
        .places = "mac/displays/[0-9]+/(frame/[0-9]|mode|menuBarOverride)|files/State~1.*",
        .example = R"({"knownDisplays":[{"ids":["HW-1552-41040-4251086178","another"],)"
                   R"("name":"built-in"}]})",
        .losses = {{reading, "Settings/preferences\\.json",
                    "mac/displays/[0-9]+/(mode|frame/[0-9])",
                    "without readable preferences every display has its own name"}},
        .read = [](const auto& path) {
            std::string text;
            for (const AliasMap::Entry& entry : AliasMap::load(path).entries) {
                text += json(entry.ids).dump();
            }
            return text;
        }};
}

}  // namespace

std::vector<Record> arrangementRecords() {
    return {
        originals(),
        marks("separated", isSeparatedSets, R"({"version":1,"signatures":["A,B","C"]})",
              separatedChanges,
              [](const auto& path) { return textOf(SeparatedSetsStore::signatures(path)); }),
        marks("side-pinned", isLayoutSets<2>, R"({"version":2,)" + layoutsExample,
              layoutWrites(sidePinnedSets),
              [](const auto& path) { return textOf(SidePinnedSetsStore::load(path)); }),
        marks("native-mirrored", isLayoutSets<1>, R"({"version":1,)" + layoutsExample,
              layoutWrites(nativeMirroredSets),
              [](const auto& path) { return textOf(NativeMirroredSetsStore::load(path)); }),
        preferences(),
    };
}

}  // namespace tolvaran::tests
