// Recognises a layout that only the main application makes, and clears the set marks that are out
// of date. Used by the arrangement invariant.
#pragma once

#include <string>

#include "restore/arrangement/hardware.hpp"

namespace tolvaran::MainApplicationLayout {

/// Which stores of set marks a repair settles. A native-mirrored mark outlives every repair but the
/// exact one: the others do not put back all that the user had, so that a layout which matches the
/// mark must still be recognised as the main application's.
enum class Marks { all, allButNativeMirrored };

/// Whether the displays stand in a zigzag or in a side-pinned or native-mirrored layout that is
/// marked for them. Asks for all three, so that each logs what it finds.
bool isInForce(const Hardware& hardware);

/// Removes this set of displays from the stores.
void clear(Marks marks, const std::string& signature);

/// For displays in healthy order: removes them from every store that marks them, and logs each at
/// "info", as in "cleared stale side-pin mark for healthy sig=" and the signature. Looks a second
/// time before it does: a display or a file that could not be read at first must not cost a mark
/// that is all that is known of the main application's layout.
void clearStaleMarks(const Hardware& hardware, const CheckLog& log);

}  // namespace tolvaran::MainApplicationLayout
