// Collects what the library logs, so that tests can compare it to the letter.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

/// While it lives, the library's three sinks write to it; afterwards they are silent again.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Every message so far as "level: message".
    const std::vector<std::string>& lines() const { return lines_; }

    /// The lines so far, which are then forgotten.
    std::vector<std::string> take();

  private:
    std::vector<std::string> lines_;
};

}  // namespace tolvaran::tests
