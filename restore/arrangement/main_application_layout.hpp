// Recognises a layout that only the main application makes, and clears outdated set marks. Used by
// the arrangement invariant. Main thread only.
#pragma once

#include <string>

#include "restore/arrangement/hardware.hpp"

namespace tolvaran::MainApplicationLayout {

/// Which stores of set marks a repair clears. A native-mirrored mark outlives every repair except
/// the exact one: the others do not put back everything the user had, so a layout that matches the
/// mark must still be recognised as the main application's.
enum class Marks { all, allButNativeMirrored };

/// What the displays and the marks show.
struct Look {
    bool isMainAppLayout = false;  // a zigzag, or a side-pinned or native-mirrored layout
    bool isSidePinMarked = false;  // whether these displays have such a mark
    bool isNativeMirrorMarked = false;
};

/// Examines where the displays are and then, whatever the result, both stores of layouts, so that
/// each logs what it finds. Each store is read once. Logs what Zigzag::isZigzag() and the stores
/// log.
Look look(const Hardware& hardware);

/// Removes this set of displays from the stores. A store that another process has changed since the
/// recovery in progress began is left alone, which is logged at "debug", as in "separated-sets.json
/// was changed by another process meanwhile; left to the next run". Also logs what the stores log.
void clear(Marks marks, const std::string& signature, const CheckLog& log);

/// For displays in order: removes them from every store that marks them, and logs each at "info",
/// as in "cleared separated mark for healthy sig=", "cleared stale side-pin mark for healthy sig="
/// or "cleared stale native-mirror mark for healthy sig=" and the signature. Checks again first: a
/// display or a file that could not be read must not cost a mark, which may be all that is known of
/// the main application's layout. A store that did not mark them the first time is not read again.
/// Leaves alone the same stores as clear(). Also logs what clear() and Zigzag::isZigzag() log.
void clearStaleMarks(const Hardware& hardware, const Look& first, const CheckLog& log);

}  // namespace tolvaran::MainApplicationLayout
