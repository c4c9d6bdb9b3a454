// Changes the process's environment temporarily.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace simulator {

/// Gives environment variables other values while it lives.
class TemporaryEnvironment {
  public:
    /// @param values by name; a variable without a value is removed
    explicit TemporaryEnvironment(const std::map<std::string, std::optional<std::string>>& values);
    ~TemporaryEnvironment();
    TemporaryEnvironment(const TemporaryEnvironment&) = delete;
    TemporaryEnvironment& operator=(const TemporaryEnvironment&) = delete;

  private:
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace simulator
