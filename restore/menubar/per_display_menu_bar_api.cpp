#include "restore/menubar/per_display_menu_bar_api.hpp"

#include "restore/paths/restore_log.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran {
namespace {

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";

}  // namespace

PerDisplayMenuBarAPI::PerDisplayMenuBarAPI()
    : handle(skyLightPath),
      mainConnection(handle.function<MainConnection>("CGSMainConnectionID")),
      getAutohide(handle.function<GetAutohide>("SLSGetMenuBarAutohideEnabled")),
      getOverride(handle.function<GetOverride>("SLSGetMenuBarVisibilityOverrideOnDisplay")),
      setOverride(handle.function<SetOverride>("SLSSetMenuBarVisibilityOverrideOnDisplay")),
      copyActiveDisplay(
          handle.function<CopyActiveDisplay>("SLSCopyActiveMenuBarDisplayIdentifier")),
      copyManagedDisplaySpaces(
          handle.function<CopyManagedDisplaySpaces>("SLSCopyManagedDisplaySpaces")) {
    if (!isComplete()) {
        RestoreLog::warn("Per-display menu bar API is unavailable on this macOS build");
    }
}

const PerDisplayMenuBarAPI& PerDisplayMenuBarAPI::shared() {
    static ProcessWide<PerDisplayMenuBarAPI> instance;
    return instance.get();
}

bool PerDisplayMenuBarAPI::isComplete() const {
    return handle.isOpen() && mainConnection != nullptr && getAutohide != nullptr &&
           getOverride != nullptr && setOverride != nullptr && copyManagedDisplaySpaces != nullptr;
}

}  // namespace tolvaran
