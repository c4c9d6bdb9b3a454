// The restore step for the arrangement of the displays: while the main application is not running,
// they must not stand in a layout that only the main application makes.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Recognises a layout of the main application by its touching corners or by a side-pinned or
/// native-mirrored mark that it matches, and then puts the displays back: to the arrangement saved
/// for them, else to one saved for some of them, else, where the layout consists of corner touches
/// alone, to one saved for them and others, else into a plain row. Removes the set marks of these
/// displays once they stand well, except that a native-mirrored mark outlives every repair but the
/// exact one.
/// The whole state is read afresh on every run, and nothing is tried twice in one run; what could
/// not be repaired is left to the next one.
void checkInvariant(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
