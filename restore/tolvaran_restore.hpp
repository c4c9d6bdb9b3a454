// The whole public library TolvaranRestore: what the main application and the helper share.
// Programs that use the library include this header and nothing else of it.
#pragma once

#include "restore/arrangement/active_displays.hpp"
#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/display_frame.hpp"
#include "restore/arrangement/display_identity.hpp"
#include "restore/arrangement/originals_commit_cache.hpp"
#include "restore/arrangement/originals_projection.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/arrangement/signature.hpp"
#include "restore/arrangement/zigzag.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/dock/dock_hot_corner_lease.hpp"
#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "restore/paths/helper_heartbeat.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
