// The records that the system keeps on disk, a row for each: its content, when the Mac matches it
// so that it may go, what the log says if it cannot be read, written or removed, which failures may
// lose it all the same, and how the library changes it.
//
// Every trial that judges records uses these rows: the corruption, power-cut, kill, pair and
// two-process trials, the lines that they expect in the log, the tests of malformed files, and the
// fuzzer's guard. They are written independently of the product, so that a mistake in its decoding
// is not repeated here.
//
//     const Record* record = findRecord("State/menubar-state.json");
//     record->changes[0](path);                    // the library writes it
//     EXPECT_TRUE(isUsable(*record, content));     // what the design says of it
//     EXPECT_TRUE(mayBecome(*record, before, after, {simulator::machine(), posted}));
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// What becomes of a file that is not a record.
enum class Fate {
    kept,       // it stays until its owner replaces it
    discarded,  // it is removed, so that it never blocks later restores
    unread,     // only its existence counts
};

/// The Mac at the moment when a record has gone, or changed.
struct Moment {
    nlohmann::json mac;     // as simulator::machine() gives it
    nlohmann::json posted;  // as simulator::notifications() gives it
    // Another Mac whose preferences are just as right, since the user has changed them later.
    nlohmann::json alsoRight = nullptr;
    // Whether two records of different names may be about one display.
    bool namesMayFold = false;
    // Whether the main application was running, which replaces records that the helper only
    // removes.
    bool byApplication = false;
};

/// A failure after which, by design, a run may end differently from one without it.
struct Loss {
    std::vector<std::string> functions;  // or a function and its error, such as "stat ENOENT"
    std::string subjects;                // a regular expression for all that the call is about
    std::string places;                  // one for a whole place; "record" is the record
    std::string reason;
    bool onlyByApplication = false;  // only the main application can lose it this way
};

/// A failure of one of these functions leaves a line in the log.
struct FailureLine {
    std::vector<std::string> functions;
    std::string subject;  // a regular expression for all that the call is about
    std::string line;     // a regular expression for a whole line, in which "CODE" stands for the
                          // failure's code; empty if nothing is logged
    bool isRetried = false;  // a single failure leaves no line: the call is made again
};

using Change = std::function<void(const std::string& path)>;

struct Record {
    std::string path;  // below the application-support directory
    std::string name;  // for messages

    // The file.
    bool (*isUsable)(const nlohmann::json&) = nullptr;  // null: anything is
    Fate fate = Fate::unread;
    std::string unusableLine = {};  // the beginning of the log line for an unusable file;
                                    // empty where the design gives none
    std::string places = {};        // a regular expression: what a usable one decides on the Mac
    std::string example = {};       // one with every field; displays as in crash-in-full.json

    // Its end. Null: only its owner may change it.
    bool (*mayBecome)(const nlohmann::json& before, const nlohmann::json& after,
                      const Moment&) = nullptr;
    bool isRewritten = false;  // whether the helper may remove a part of it

    // What the log says, as regular expressions for whole lines; empty where it says nothing.
    std::string notWritten = {};
    std::string notRemoved = {};
    std::vector<FailureLine> lines = {};  // of the calls that put it back
    std::vector<Loss> losses = {};

    // What the library does with it.
    std::vector<Change> changes = {};                               // one after the other
    std::function<std::string(const std::string& path)> read = {};  // what it reads, as text
};

const std::vector<Record>& records();

/// The record at this path below the application-support directory; null if there is none.
const Record* findRecord(const std::string& path);

/// Whether the content is a record of this kind.
bool isUsable(const Record& record, const std::string& content);

/// Whether a record may have become `after` at this moment: what it no longer says is in force on
/// the Mac.
/// @param before the document that it was; null if it could not be parsed
/// @param after  the document in its place; null if there is none
bool mayBecome(const Record& record, const nlohmann::json& before, const nlohmann::json& after,
               const Moment& moment);

/// Whether a failure of this function may lose the record while the helper runs.
bool mayBeLostBy(const Record& record, const std::string& function);

/// The path with its dots escaped, for use in a regular expression.
std::string escaped(const std::string& path);

}  // namespace tolvaran::tests
