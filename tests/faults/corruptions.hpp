// Ways in which a file's content can be wrong. Used by the corruption tests.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// Wrong content, and what is wrong with it.
struct Corruption {
    std::string what;
    std::string content;
};

/// The content cut off at every length except the full one.
std::vector<Corruption> cuts(const std::string& content);

/// How many contents differ from this one in one byte.
std::size_t byteCorruptions(const std::string& content);

/// The corruption with this number: every byte in turn takes each of its 255 other values.
Corruption byteCorruption(const std::string& content, std::size_t number);

/// The JSON document with each of its values in turn, including the whole, missing, null and of
/// every other type, each key doubled (the value before or after another), and an unknown key added
/// to each object. Empty if the content is not JSON.
std::vector<Corruption> fieldCorruptions(const std::string& content);

}  // namespace tolvaran::tests
