#include "tests/support/log_capture.hpp"

#include <utility>

#include "restore/paths/restore_log.hpp"

namespace tolvaran::tests {

LogCapture::LogCapture() {
    const auto sink = [this](const std::string& level) {
        return
            [this, level](const std::string& message) { lines_.push_back(level + ": " + message); };
    };
    RestoreLog::debug = sink("debug");
    RestoreLog::info = sink("info");
    RestoreLog::warn = sink("warn");
}

LogCapture::~LogCapture() {
    RestoreLog::silence();
}

Lines LogCapture::take() {
    return std::exchange(lines_, {});
}

}  // namespace tolvaran::tests
