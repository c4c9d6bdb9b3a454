// Collects the helper's log from what it writes to standard error.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace simulator {

/// Assembles lines from pieces as they are written. Only lines in the log's form count:
/// "[timestamp] [elapsed] [helper] [level] message".
class LogLines {
  public:
    /// @param onLine called after each complete line; may be empty
    explicit LogLines(std::function<void()> onLine = {}) : onLine_(std::move(onLine)) {}

    /// Takes the next piece, which may hold any part of any number of lines.
    void take(std::string_view text);

    /// The complete lines so far, each {"at", "level", "message"}, with the time at which its end
    /// was written.
    const nlohmann::json& entries() const { return entries_; }

  private:
    void takeLine();

    std::function<void()> onLine_;
    std::string line_;  // not yet ended
    nlohmann::json entries_ = nlohmann::json::array();
};

}  // namespace simulator
