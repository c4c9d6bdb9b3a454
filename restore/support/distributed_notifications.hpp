// Notifications to every process of the login session. Main thread only.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>

namespace tolvaran {

/// Posts `name` on the distributed notification center, without an object, for immediate delivery
/// even to suspended processes.
/// @param userInfo property list values under string keys, not retained beyond the call; null for
///                 no user info
void postDistributedNotification(const std::string& name, CFDictionaryRef userInfo = nullptr);

}  // namespace tolvaran
