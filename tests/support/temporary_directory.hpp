// A test's own directory. These functions use the standard library, not the product's file access,
// so that neither can hide a mistake in the other.
#pragma once

#include <optional>
#include <string>

#include "tests/support/lines.hpp"

namespace tolvaran::tests {

/// A fresh directory, removed with its content when this is destroyed.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    /// The path of a name below the directory.
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    /// What lies below it.
    Lines list() const;

  private:
    std::string path_;
};

/// The names below a directory, sorted, directories with a "/" at the end; none if it is missing.
Lines filesBelow(const std::string& directory);

/// Writes a file, creating its directory. Fails the test if it cannot.
void writeFile(const std::string& path, const std::string& content);

/// The file's content; none if it cannot be opened.
std::optional<std::string> readFile(const std::string& path);

/// Sets an environment variable for a scope (none: unsets it) and puts the old value back.
class ScopedEnvironment {
  public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace tolvaran::tests
