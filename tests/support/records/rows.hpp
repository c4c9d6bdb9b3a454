// The rows of records(), with one source file per subject. Each holds all that the tests know about
// its records: what their files must contain, when they may go, and what a failure may cost.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "restore/support/json.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::tests {

std::vector<Record> arrangementRecords();
std::vector<Record> modesRecords();
std::vector<Record> menuBarRecords();
std::vector<Record> dockRecords();

/// The calls that read a file whole.
inline const std::vector<std::string> reading{"open", "fstat", "read"};

/// What the library has read, as text.
template <typename Value>
std::string textOf(const Value& value) {
    return tolvaran::json::write(value);
}

template <typename Value>
std::string textOf(const std::optional<Value>& value) {
    return value ? textOf(*value) : "none";
}

}  // namespace tolvaran::tests
