// The Dock: its auto-hide switch, which the product declares for itself and links directly, and
// the live hot corners behind HIServices' functions, found at run time. With their types:
//
//   CoreDockGetAutoHideEnabled() -> Boolean, directly
//   CoreDockSetAutoHideEnabled(Boolean) -> void, directly
//   CoreDockGetExposeCornerActionsWithModifiers(int32_t actions[4], int32_t modifiers[4]) -> void
//   CoreDockSetExposeCornerActionWithModifier(int32_t action, int32_t corner, int32_t modifier)
//       -> int32_t
//
// Corners count from 0: top-left, top-right, bottom-left, bottom-right. The Dock takes them from
// nowhere but the setter; preferences written behind its back do not change them.
#pragma once

namespace simulator::devices {

/// Offers the hot-corner functions for look-up at run time.
void registerDockSymbols();

}  // namespace simulator::devices
