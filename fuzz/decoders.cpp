// Fuzz target: every decoder of the library. The first byte of an input is the letter of one of
// them, the rest is what it reads: the content of a file, a list of raw mode records, or values of
// the system as JSON. Other inputs are ignored.
//
// Whatever the bytes are, no decoder may crash, leak or change the file. What it accepts must be
// equal when written and read back; anything else it must refuse as its header says.
//
// One record is not here: the commit cache of the originals is never on disk. For the screen
// saver's hold ('k'), only the presence of its file counts.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "fuzz/check.hpp"
#include "fuzz/target.hpp"
#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_identity.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/modes/display_mode_control.hpp"
#include "restore/modes/display_mode_descriptor.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/paths/helper_heartbeat.hpp"
#include "restore/support/json.hpp"
#include "restore/support/preferences.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/records/records.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::fuzz {
namespace {

using tests::LogCapture;

/// A file with the input in it.
struct Input {
    std::string path;
    std::string content;
    // How the log line that refuses the file begins; empty if it is refused silently.
    std::string refusal;
};

/// Whether the text is an object according to another parser; none if that parser stops at a number
/// out of range, which does not matter if the value is ignored.
std::optional<bool> isObject(const std::string& content) {
    try {
        return content.find('\0') == std::string::npos &&
               nlohmann::json::parse(content).is_object();
    } catch (const nlohmann::json::parse_error&) {
        return false;
    } catch (const nlohmann::json::out_of_range&) {
        return std::nullopt;
    }
}

/// Whether no reader may accept this as a record.
bool isNotAnObject(const std::string& content) {
    return isObject(content) == false;
}

/// A record without fields: any object is one.
struct Nothing {
    bool operator==(const Nothing&) const = default;
};

}  // namespace
}  // namespace tolvaran::fuzz

template <>
struct tolvaran::json::Format<tolvaran::fuzz::Nothing> {
    static constexpr std::tuple<> fields{};
};

namespace tolvaran::fuzz {
namespace {

/// The lines as one; empty if there are none.
std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : " | ") + line;
    }
    return text;
}

/// Requires the log after reading to be empty or the refusal. Returns whether it was refused.
bool requireRefusalOrSilence(const Input& input, LogCapture& log) {
    const std::vector<std::string> lines = log.take();
    const bool refused = !lines.empty();
    require(!refused || (lines.size() == 1 && !input.refusal.empty() &&
                         lines[0].starts_with("warn: " + input.refusal)),
            "reading logged: " + joined(lines));
    require(refused || input.refusal.empty() || !isNotAnObject(input.content),
            "what is not a record was accepted silently");
    return refused;
}

/// Loads the file, saves what it held, and loads that.
template <typename Load, typename Save>
auto readAndWrite(const Input& input, Load load, Save save) {
    LogCapture log;
    const auto first = load(input.path);
    const bool refused = requireRefusalOrSilence(input, log);
    require(tests::readFile(input.path) == input.content, "reading changed the file");
    save(first, input.path);
    if (refused) {
        log.take();  // a writer that looks at the old file first refuses it once more
    }
    require(load(input.path) == first, "what was written is not what was read");
    require(log.lines().empty(), "writing what was read logged: " + joined(log.lines()));
    return first;
}

void originals(const Input& input) {
    const OriginalsFile file = readAndWrite(input, OriginalsStore::load, OriginalsStore::save);
    // A migration that renames nothing drops what is malformed; a second one changes nothing.
    OriginalsStore::migrateUUIDs({{"A", "A"}}, input.path);
    const OriginalsFile migrated = OriginalsStore::load(input.path);
    OriginalsStore::migrateUUIDs({{"A", "A"}}, input.path);
    require(OriginalsStore::load(input.path) == migrated, "a second migration changed something");
    require(migrated.arrangements.size() <= file.arrangements.size(),
            "a migration added something");
}

void aliases(const Input& input) {
    LogCapture log;
    const AliasMap map = AliasMap::load(input.path);
    const bool refused = requireRefusalOrSilence(input, log);
    require(!refused || map.entries.empty(), "a refused file has aliases");
    for (const AliasMap::Entry& entry : map.entries) {
        for (const std::string& id : entry.ids) {
            const std::string canonical = map.canonicalID(id);
            require(std::any_of(map.entries.begin(), map.entries.end(),
                                [&](const AliasMap::Entry& other) {
                                    return !other.ids.empty() && other.ids.front() == canonical;
                                }),
                    "the canonical ID is not the first of an entry");
        }
    }
    require(tests::readFile(input.path) == input.content, "reading changed the file");
}

void resolutionOriginals(const Input& input) {
    const ResolutionOriginalsFile file =
        readAndWrite(input, ResolutionOriginalsStore::load, ResolutionOriginalsStore::save);
    for (const auto& [uuid, spec] : file.entries) {
        require(spec.isValid(), "an entry was kept that no display could have");
        require(!spec.displayString().empty() && !spec.aspectRatioString().empty() &&
                    spec.logDescription().starts_with(spec.displayString()),
                "a mode has no description");
    }
}

/// A signature that is not among these.
std::string newSignature(const std::vector<std::string>& known) {
    std::string signature = "new";
    while (std::find(known.begin(), known.end(), signature) != known.end()) {
        signature += "'";
    }
    return signature;
}

void separatedSets(const Input& input) {
    readAndWrite(input, SeparatedSetsStore::signatures,
                 [](const std::vector<std::string>& signatures, const std::string& path) {
                     const std::string added = newSignature(signatures);
                     SeparatedSetsStore::markSeparated(added, path);
                     SeparatedSetsStore::clearSeparated(added, path);
                 });
}

void layoutSets(const SetMarks& marks, const Input& input) {
    using Arrangements = std::map<std::string, std::vector<MarkedLayout>>;
    const auto load = [&](const std::string& path) { return LayoutSets::load(marks, path); };
    const auto rewrite = [&](const Arrangements& arrangements, const std::string& path) {
        std::vector<std::string> signatures;
        for (const auto& [signature, layouts] : arrangements) {
            signatures.push_back(signature);
        }
        const std::string added = newSignature(signatures);
        LayoutSets::premark(marks, added, {OriginalsEntry{.uuid = "A", .x = 0, .y = 0}}, path);
        LayoutSets::clear(marks, added, path);
    };
    for (const auto& [signature, layouts] : readAndWrite(input, load, rewrite)) {
        for (const MarkedLayout& layout : layouts) {
            std::map<std::string, CGPoint> origins;
            for (const OriginalsEntry& entry : layout) {
                origins.try_emplace(entry.uuid, CGPointMake(entry.x, entry.y));
            }
            const bool eachOnce = origins.size() == layout.size();
            require(layout.empty() || !eachOnce ||
                        LayoutSets::find(marks, signature, origins, input.path).isInForce,
                    "a marked layout does not match itself");
        }
    }
}

void menuBar(const Input& input) {
    const auto snapshot = readAndWrite(
        input, MenuBarAutohide::loadSnapshot, [](const auto& loaded, const std::string& path) {
            const bool done = loaded ? MenuBarAutohide::saveSnapshot(*loaded, path)
                                     : MenuBarAutohide::deleteSnapshot(path);
            require(done, "the snapshot could not be written");
        });
    if (snapshot) {
        const auto kept = snapshot->settled({.globalRestored = false, .onlyAbsent = true});
        require(kept && kept->displayVisibilityOverrides == snapshot->displayVisibilityOverrides,
                "an attempt without success lost records");
    }
}

void hotCorners(const Input& input) {
    const auto snapshot =
        readAndWrite(input, DockHotCornerOverride::loadSnapshot,
                     [](const auto& loaded, const std::string& path) {
                         if (loaded) {
                             DockHotCornerOverride::saveSnapshotOrThrow(*loaded, path);
                         } else {
                             DockHotCornerOverride::deleteSnapshot(path);
                         }
                     });
    require(!snapshot || snapshot->isValid(), "an invalid snapshot was accepted");
    require(!snapshot || (snapshot->effectiveActions().size() == hotCornerCount &&
                          snapshot->cornerActions().size() == hotCornerCount),
            "a snapshot does not have four corners");
}

void dockMarker(const Input& input) {
    readAndWrite(input, DockAutoHideOverride::pendingRestoreValue,
                 [](const std::optional<bool>& value, const std::string& path) {
                     if (value) {
                         DockAutoHideOverride::markPending(*value, path);
                     } else {
                         DockAutoHideOverride::clearPending(path);
                     }
                 });
}

void heartbeat(const Input& input) {
    LogCapture log;
    const auto date = HelperHeartbeat::lastTouch(input.path);
    // Beyond this a date no longer tells milliseconds apart, and far beyond it writing one stops
    // the program.
    constexpr double latest = 4e12;
    if (date && std::fabs(*date) < latest) {
        require(HelperHeartbeat::touch(input.path, *date), "the heartbeat could not be written");
        const auto again = HelperHeartbeat::lastTouch(input.path);
        // Writing cuts off what reading has rounded, which can cost the last millisecond.
        require(again && std::fabs(*again - *date) < 0.0015, "the heartbeat's date changed");
    }
    require(log.lines().empty(), "the heartbeat logged something");
}

void screenSaverHold(const Input& input) {
    require(ScreenSaverHotCornerHold::recoverIfPending(input.path) &&
                !ScreenSaverHotCornerHold::isPending(input.path),
            "a hold was not ended");
}

/// Reads the text as this type and, if that works, writes what was read and reads it again.
template <typename T>
void requireTheSameWhenReadAgain(const std::string& text) {
    try {
        const T value = json::read<T>(text);
        require(json::read<T>(json::write(value)) == value, "JSON is not written as it is read");
        require(!std::is_same_v<T, Nothing> || !isNotAnObject(text),
                "what is not an object was read as one");
    } catch (const json::EncodingError& error) {
        fail(std::string("what was read cannot be written: ") + error.what());
    } catch (const json::DecodingError& error) {
        const std::string reason = error.what();
        const bool isTooDeep = reason.find("levels of nesting") != std::string::npos;
        require(!reason.empty(), "a refusal without a reason");
        require(!std::is_same_v<T, Nothing> || isTooDeep || isObject(text) != true,
                "an object was refused: " + reason);
    }
}

void anyJSON(const Input& input) {
    requireTheSameWhenReadAgain<Nothing>(input.content);
    requireTheSameWhenReadAgain<std::map<std::string, double>>(input.content);
    requireTheSameWhenReadAgain<std::vector<std::map<std::string, std::string>>>(input.content);
    requireTheSameWhenReadAgain<std::vector<std::optional<std::int64_t>>>(input.content);
}

/// The raw records of the input, one after the other.
std::vector<DisplayModeDescriptor> modesIn(const std::string& content) {
    std::vector<DisplayModeDescriptor> modes;
    const auto bytes = std::as_bytes(std::span(content));
    for (std::size_t at = 0; at + displayModeRecordLength <= bytes.size();
         at += displayModeRecordLength) {
        modes.push_back(DisplayModeDescriptor::fromRecord(
            DisplayModeRecord(bytes.data() + at, displayModeRecordLength)));
        std::int32_t width = 0;  // as a little-endian host reads it
        std::memcpy(&width, bytes.data() + at + 8, sizeof width);
        require(modes.back().width == width, "a mode has another width");
    }
    return modes;
}

void modes(const Input& input) {
    const std::vector<DisplayModeDescriptor> all = modesIn(input.content);
    for (const DisplayModeDescriptor& mode : all) {
        const auto match = DisplayModeControl::exactMatch(mode.spec(), all);
        require(match.has_value() || !mode.isUsable(), "a usable mode does not match its own spec");
        require(!match || match->isUsable(), "an unusable mode matches");
    }
    for (const DisplayModeDescriptor& mode : DisplayModeControl::dedupedModes(all)) {
        require(mode.isUsable() && mode.width > 0, "an unusable mode is offered");
    }
    // A width in pixels that does not fit in 64 bits stops the program.
    const bool hasWidths = std::all_of(all.begin(), all.end(), [](const auto& mode) {
        return std::fabs(mode.density * static_cast<float>(mode.width)) < 1e18F;
    });
    require(!hasWidths || DisplayModeControl::nativePixelWidth(all) >= 0,
            "a panel's width is negative");
}

/// Resets the Mac, with the input under one of its keys; false if the simulator refuses it.
bool becomes(const std::string& key, const Input& input) {
    const auto value = nlohmann::json::parse(input.content, nullptr, false);
    try {
        simulator::reset({{key, value.is_discarded() ? nlohmann::json() : value}});
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

/// The service's number; 1, as which the system reads true, if no display can have that number.
std::uint32_t numberIn(const nlohmann::json& service, const char* key) {
    const auto value = service.find(key);
    const bool isNumber = value != service.end() && value->is_number_unsigned() &&
                          *value <= std::numeric_limits<std::uint32_t>::max();
    return isNumber ? value->get<std::uint32_t>() : 1;
}

void registry(const Input& input) {
    if (!becomes("registry", input)) {
        return;
    }
    const nlohmann::json services = simulator::machine().at("registry");
    for (const nlohmann::json& service : services) {
        const auto serial = edidSerialString(numberIn(service, "DisplayVendorID"),
                                             numberIn(service, "DisplayProductID"));
        const auto has = [&](const nlohmann::json& other) {
            return other.value("DisplaySerialString", nlohmann::json()) == *serial;
        };
        require(!serial || (!serial->empty() && std::any_of(services.begin(), services.end(), has)),
                "a serial string belongs to no service");
    }
}

void preferences(const Input& input) {
    if (!becomes("preferences", input)) {
        return;
    }
    const DockHotCornerSnapshot corners =
        DockHotCornerOverride::readCurrent(DockHotCornerOverride::dockAppID);
    require(corners.liveListsArePaired(), "the live corners are not a pair");
    if (corners.isValid()) {
        DockHotCornerOverride::saveSnapshotOrThrow(corners, input.path);
        require(DockHotCornerOverride::loadSnapshot(input.path) == corners,
                "the corners are not saved as they are");
    }
    const MenuBarAutohideSnapshot menuBarNow = MenuBarAutohide::readCurrent();
    for (const auto& value : {menuBarNow.hideMenuBar, menuBarNow.visibleInFullscreen}) {
        require(!value || *value == 0 || *value == 1, "a switch is neither on nor off");
    }
}

/// Reads the content as each kind of record that the tests know, so that a new kind is tried too.
void anyRecord(const Input& input) {
    LogCapture log;
    for (const tests::Record& record : tests::records()) {
        const std::string value = record.read(input.path);
        require(record.read(input.path) == value, record.name + ": another value when read again");
        require(tests::readFile(input.path) == input.content, record.name + ": reading wrote");
        for (const std::string& line : log.take()) {
            const std::string refusal =
                record.unusableLine.substr(0, record.unusableLine.find(" at "));
            require(!refusal.empty() && line.starts_with(refusal),
                    record.name + ": an unexpected line: " + line);
        }
    }
}

struct Decoder {
    char letter;
    void (*check)(const Input& input);
    const char* refusal;
};

constexpr std::array decoders = {
    Decoder{'o', originals, "originals file missing/wrong version/unparseable, starting fresh"},
    Decoder{'a', aliases, "AliasMap: preferences.json unparseable, falling back to identity"},
    Decoder{'r', resolutionOriginals,
            "resolution originals file missing/wrong version/unparseable, starting fresh"},
    Decoder{'s', separatedSets, "separated-sets file wrong version/unparseable, treating as empty"},
    Decoder{'p', [](const Input& input) { layoutSets(sidePinnedSets, input); },
            "side-pinned-sets file wrong version/unparseable, treating as empty"},
    Decoder{'n', [](const Input& input) { layoutSets(nativeMirroredSets, input); },
            "native-mirrored-sets file wrong version/unparseable, treating as empty"},
    Decoder{'m', menuBar, "menu bar snapshot at "},
    Decoder{'h', hotCorners, "hot-corner snapshot at "},
    Decoder{'d', dockMarker, ""},
    Decoder{'b', heartbeat, ""},
    Decoder{'k', screenSaverHold, ""},
    Decoder{'x', anyRecord, ""},
    Decoder{'j', anyJSON, ""},
    Decoder{'e', modes, ""},
    Decoder{'i', registry, ""},
    Decoder{'f', preferences, ""},
};

void checkWith(const Decoder& decoder, std::string content) {
    static const tests::TemporaryDirectory directory;
    const Input input{
        .path = directory / "record", .content = std::move(content), .refusal = decoder.refusal};
    tests::writeFile(input.path, input.content);
    simulator::reset();
    const std::size_t objects = simulator::liveObjects();
    decoder.check(input);
    require(simulator::liveObjects() == objects, "an object was not released");
    require(directory.list().size() <= 1, "an unfinished file was left behind");
}

}  // namespace
}  // namespace tolvaran::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tolvaran::fuzz;
    if (size == 0) {
        return 0;
    }
    const auto decoder = std::find_if(decoders.begin(), decoders.end(), [&](const Decoder& one) {
        return one.letter == static_cast<char>(data[0]);
    });
    if (decoder != decoders.end()) {
        checkWith(*decoder, std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    }
    return 0;
}
