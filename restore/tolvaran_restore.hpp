// The whole public library TolvaranRestore: what the main application and the helper share.
// Programs that use the library include this header and nothing else of it.
//
// Use the library on the main thread only, except for the paths and the helper's heartbeat, which
// any thread may use.
#pragma once

#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/display_frame.hpp"
#include "restore/arrangement/display_identity.hpp"
#include "restore/arrangement/originals_commit_cache.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/zigzag.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/dock/dock_hot_corner_lease.hpp"
#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/menu_bar_matcher.hpp"
#include "restore/menubar/menu_bar_snapshot.hpp"
#include "restore/menubar/per_display_menu_bar_api.hpp"
#include "restore/modes/display_mode_control.hpp"
#include "restore/modes/display_mode_descriptor.hpp"
#include "restore/modes/display_mode_spec.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/modes/resolution_restore.hpp"
#include "restore/paths/helper_heartbeat.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
