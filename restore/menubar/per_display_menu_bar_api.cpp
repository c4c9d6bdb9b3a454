#include "restore/menubar/per_display_menu_bar_api.hpp"

#include "restore/paths/restore_log.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran {
namespace {

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";

/// The function of this name; where there is none, null, and the name joins `missing`.
template <typename Function>
Function* find(const DynamicLibrary& library, const std::string& name,
               std::vector<std::string>& missing) {
    Function* const function = library.function<Function>(name);
    if (function == nullptr) {
        missing.push_back(name);
    }
    return function;
}

}  // namespace

PerDisplayMenuBarAPI::PerDisplayMenuBarAPI()
    : handle(skyLightPath),
      mainConnection(find<MainConnection>(handle, "CGSMainConnectionID", missing)),
      getAutohide(find<GetAutohide>(handle, "SLSGetMenuBarAutohideEnabled", missing)),
      getOverride(find<GetOverride>(handle, "SLSGetMenuBarVisibilityOverrideOnDisplay", missing)),
      setOverride(find<SetOverride>(handle, "SLSSetMenuBarVisibilityOverrideOnDisplay", missing)),
      copyActiveDisplay(
          find<CopyActiveDisplay>(handle, "SLSCopyActiveMenuBarDisplayIdentifier", missing)),
      copyManagedDisplaySpaces(
          find<CopyManagedDisplaySpaces>(handle, "SLSCopyManagedDisplaySpaces", missing)) {
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
