#include "restore/paths/restore_log.hpp"

namespace tolvaran::RestoreLog {
namespace {

void drop(const std::string&) {}

}  // namespace

Sink debug = drop;
Sink info = drop;
Sink warn = drop;

void silence() {
    debug = drop;
    info = drop;
    warn = drop;
}

}  // namespace tolvaran::RestoreLog
