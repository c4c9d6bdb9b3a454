// Spoiled copies of a good state file, for the tests of everything that reads one: what a kill, a
// full disk, another version, a hand edit or an attacker might leave there.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// One spoiled file.
struct BadInput {
    std::string what;  // what is wrong with it, for the message of a failing test
    std::string text;
};

/// What a field holds; `integer` is a number without a fraction.
enum class Holds { text, boolean, integer, number, list, object };

/// A field that a file must have.
struct RequiredField {
    std::string pointer;  // where it stands in the good file, such as "/arrangements/A,B/0/x"
    Holds holds;
};

/// `good` cut off after every byte but the last. `good` is an object without white space around it.
std::vector<BadInput> truncations(const std::string& good);

/// `good` with each field in turn missing (members of objects only), null and of every other type.
std::vector<BadInput> wrongFields(const nlohmann::json& good,
                                  const std::vector<RequiredField>& fields);

/// Files that are wrong whatever they should hold: not JSON, not UTF-8, not an object, a second
/// value after the first, numbers that JSON does not have, endless nesting; some of these in a key
/// of `good` that a reader would otherwise ignore.
std::vector<BadInput> wrongText(const std::string& good);

/// `good` with enough under a key that readers ignore to make the file at least `size` bytes long.
std::string padded(const std::string& good, std::size_t size);

}  // namespace tolvaran::tests
