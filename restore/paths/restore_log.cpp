#include "restore/paths/restore_log.hpp"

namespace tolvaran::RestoreLog {

// Initialised at compile time, so that nothing clears a sink that a host has set early.
constinit Sink debug;
constinit Sink info;
constinit Sink warn;

void Sink::operator()(const std::string& message) const {
    // Held here because the function may replace itself.
    if (const auto function = function_; function != nullptr && *function) {
        (*function)(message);
    }
}

void silence() {
    debug = nullptr;
    info = nullptr;
    warn = nullptr;
}

}  // namespace tolvaran::RestoreLog
