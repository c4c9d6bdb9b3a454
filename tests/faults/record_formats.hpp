// What the system's design says of each kind of file that the helper reads: what makes one usable,
// and what becomes of one that is not. Told here a second time, in the tests' own way, so that a
// mistake in the product's decoding is not repeated by what judges it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tolvaran::tests {

enum class Fate {
    kept,       // an unusable file stays until its owner replaces it
    discarded,  // an unusable file is removed, so that it never blocks later restores
    unread,     // that there is a file is all that counts
};

struct RecordFormat {
    const char* path;                         // below the application-support directory
    bool (*isUsable)(const nlohmann::json&);  // whether a document is a record of this kind
    const char* warning;  // what the beginning of the line is that tells of an unusable file; empty
                          // where the design gives none
    Fate fate;
    const char* places;  // a regular expression for what on the Mac a usable record decides about
};

/// The format of the file at this path; none when the helper reads no such file.
const RecordFormat* recordFormat(const std::string& path);

/// Whether the content is a record of this format.
bool isUsable(const RecordFormat& format, const std::string& content);

/// Whether the content is a record of two arrangements or more. Where each is of some displays only
/// and leaves the others in a zigzag, a run tries one after the other; what that moves brings about
/// the next run, which moves the displays again. By design no run is held back.
bool mayNotComeToRest(const RecordFormat& format, const std::string& content);

}  // namespace tolvaran::tests
