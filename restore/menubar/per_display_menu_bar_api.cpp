#include "restore/menubar/per_display_menu_bar_api.hpp"

#include "restore/paths/restore_log.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran {
namespace {

/// Looks the function up. If there is none, returns null and adds its name to `missing`.
template <typename Function>
Function* find(const DynamicLibrary& library, const RunTimeFunction<Function>& wanted,
               std::vector<std::string>& missing) {
    Function* const function = library.function(wanted);
    if (function == nullptr) {
        missing.emplace_back(wanted.name);
    }
    return function;
}

}  // namespace

PerDisplayMenuBarAPI::PerDisplayMenuBarAPI()
    : handle(sky_light::path),
      mainConnection(find(handle, sky_light::mainConnection, missing)),
      getAutohide(find(handle, sky_light::getAutohide, missing)),
      getOverride(find(handle, sky_light::getOverride, missing)),
      setOverride(find(handle, sky_light::setOverride, missing)),
      copyActiveDisplay(find(handle, sky_light::copyActiveDisplay, missing)),
      copyManagedDisplaySpaces(find(handle, sky_light::copyManagedDisplaySpaces, missing)) {
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
