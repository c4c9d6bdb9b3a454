// Collects what the library logs, so that tests can compare it to the letter.
#pragma once

#include <string>

#include "tests/support/lines.hpp"

namespace tolvaran::tests {

/// While it lives, the library's three sinks write to it; afterwards they are silent again.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Every message so far as "level: message".
    const Lines& lines() const { return lines_; }

    /// The lines so far, which are then forgotten.
    Lines take();

  private:
    Lines lines_;
};

}  // namespace tolvaran::tests
