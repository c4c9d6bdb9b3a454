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

/// What a look at the displays and at the marks shows.
struct Look {
    bool isMainApplications = false;  // a zigzag, or a side-pinned or native-mirrored layout
    bool isSidePinMarked = false;     // whether these displays have such a mark at all
    bool isNativeMirrorMarked = false;
};

/// Looks at where the displays stand, and then, whatever that is, at both stores of layouts, so
/// that each logs what it finds. Each store is read once.
Look look(const Hardware& hardware);

/// Removes this set of displays from the stores. One that another process has changed since the
/// recovery in progress began is left alone, which is logged at "debug".
void clear(Marks marks, const std::string& signature, const CheckLog& log);

/// For displays in healthy order: removes them from every store that marks them, and logs each at
/// "info", as in "cleared stale side-pin mark for healthy sig=" and the signature. Looks a second
/// time before it does: a display or a file that could not be read at first must not cost a mark
/// that is all that is known of the main application's layout. A store that did not mark them at
/// the first look is not read again. Leaves alone what clear() does.
void clearStaleMarks(const Hardware& hardware, const Look& first, const CheckLog& log);

}  // namespace tolvaran::MainApplicationLayout
