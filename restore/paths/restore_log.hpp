// Where the library's messages go. The library writes no log of its own: it calls these three
// sinks, and the host (the helper, the main application, a test) decides what becomes of them.
#pragma once

#include <functional>
#include <string>

namespace tolvaran::RestoreLog {

/// Takes one message without a line end.
using Sink = std::function<void(const std::string& message)>;

/// The sinks. Until a host sets them they drop every message. They are process-wide and, like the
/// rest of the library, used from one thread at a time.
extern Sink debug;
extern Sink info;
extern Sink warn;

/// Puts back the three sinks that drop every message.
void silence();

}  // namespace tolvaran::RestoreLog
