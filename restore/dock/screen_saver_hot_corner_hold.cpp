#include "restore/dock/screen_saver_hot_corner_hold.hpp"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/distributed_notifications.hpp"
#include "restore/support/files.hpp"

namespace tolvaran::ScreenSaverHotCornerHold {
namespace {

enum class Action : std::int64_t { beginHold = 2, endHold = 3 };

void post(Action action) {
    const auto number = cf::makeNumber(static_cast<std::int64_t>(action));
    const auto userInfo = cf::makeDictionary(CFSTR("action"), number.get());
    postDistributedNotification("com.apple.screensaver.action", userInfo.get());
}

void warnAboutMarker(const std::string& whatCouldNotBe, const files::Error& error) {
    RestoreLog::warn("screen-saver hot-corner hold marker could not be " + whatCouldNotBe + " (" +
                     error.what() + ")");
}

}  // namespace

std::string defaultMarkerPath() {
    return TolvaranPaths::statePath("hot-corner-screen-saver-hold");
}

bool begin(const std::string& path) {
    try {
        files::createParentDirectory(path);
        files::writeAtomically(path, "1");
    } catch (const files::Error& error) {
        warnAboutMarker("saved", error);
        return false;
    }
    post(Action::beginHold);
    return true;
}

bool end(const std::string& path) {
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    post(Action::endHold);
    try {
        files::remove(path);
    } catch (const files::Error& error) {
        if (!error.isNoSuchFile()) {
            warnAboutMarker("removed", error);
            return false;
        }
    }
    return true;
}

bool recoverIfPending(const std::string& path) {
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    return isPending(path) && end(path);
}

bool isPending(const std::string& path) {
    return files::exists(path);
}

}  // namespace tolvaran::ScreenSaverHotCornerHold
