#include "restore/paths/tolvaran_paths.hpp"

#include <CoreFoundation/CoreFoundation.h>
#include <crt_externs.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/process_wide.hpp"
#include "restore/support/text.hpp"

namespace tolvaran::TolvaranPaths {
namespace {

/// `name` below `directory`, with one separator between them.
std::string joined(const std::string& directory, const std::string& name) {
    const std::size_t start = std::min(name.find_first_not_of('/'), name.size());
    return directory + (directory.ends_with('/') ? "" : "/") + name.substr(start);
}

std::string homeDirectory() {
    const char* const home = std::getenv("HOME");
    if (home != nullptr && *home == '/') {
        return home;
    }
    const struct passwd* const user = ::getpwuid(::getuid());
    return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

std::string expandingTilde(const std::string& path) {
    if (path == "~") {
        return homeDirectory();
    }
    return path.starts_with("~/") ? joined(homeDirectory(), path.substr(2)) : path;
}

std::optional<std::string> environmentOverride(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    if (value == nullptr || text::trimmed(value).empty()) {
        return std::nullopt;
    }
    // Deliberately not trimmed: a path may begin or end with a blank.
    return expandingTilde(value);
}

std::vector<std::string> arguments() {
    char** const first = *_NSGetArgv();
    return {first, first + *_NSGetArgc()};
}

std::optional<std::string> migrationFlag(const std::string& flag) {
    const std::vector<std::string> given = arguments();
    if (std::find(given.begin(), given.end(), homebrewMigrationPrepareFlag) == given.end()) {
        return std::nullopt;
    }
    const auto found = std::find(given.begin(), given.end(), flag);
    if (found == given.end() || found + 1 == given.end()) {
        return std::nullopt;
    }
    const std::string_view value = text::trimmed(*(found + 1));
    return value.starts_with('/') ? std::optional<std::string>(value) : std::nullopt;
}

std::string temporaryDirectory() {
    const char* const directory = std::getenv("TMPDIR");
    return directory != nullptr && *directory == '/' ? directory : "/tmp";
}

std::string newUUID() {
    const auto uuid = CFRef<CFUUIDRef>::assume(CFUUIDCreate(kCFAllocatorDefault));
    const auto string =
        uuid ? CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()))
             : CFRef<CFStringRef>();
    return cf::string(string.get()).value_or("");
}

/// Computed once, so that every path of one process lies under the same roots.
struct Defaults {
    std::string applicationSupport = expandingTilde("~/Library/Application Support/Tolvaran");
    std::string logs = expandingTilde("~/Library/Logs/Tolvaran");
    std::string homebrewMigration =
        expandingTilde("~/Library/Application Support/com.morvelli.TolvaranMigration");
    std::string maintainerConfig = expandingTilde("~/.config/tolvaran");
};

const Defaults& defaults() {
    static ProcessWide<Defaults> cached;
    return cached.get();
}

const std::string& testRoot() {
    static ProcessWide<std::string> cached;
    return cached.get([] {
        return joined(temporaryDirectory(),
                      "tolvaran-tests-" + std::to_string(::getpid()) + "-" + newUUID());
    });
}

std::string defaultOrTestDirectory(const std::string& usual, const std::string& underTestRoot) {
    return isRunningUnderXCTest() ? joined(testRoot(), underTestRoot) : usual;
}

/// Applies everything that can move a root, in order.
std::string root(const std::string& variable, const std::string& flag, const std::string& usual,
                 const std::string& underTestRoot) {
    if (const auto value = environmentOverride(variable)) {
        return *value;
    }
    if (const auto value = migrationFlag(flag)) {
        return *value;
    }
    return defaultOrTestDirectory(usual, underTestRoot);
}

bool hasTestBundleEnding(CFBundleRef bundle) {
    if (bundle == nullptr) {
        return false;
    }
    const auto url = CFRef<CFURLRef>::assume(CFBundleCopyBundleURL(bundle));
    UInt8 path[PATH_MAX];
    return url && CFURLGetFileSystemRepresentation(url.get(), true, path, sizeof path) != 0 &&
           std::string_view(reinterpret_cast<const char*>(path)).ends_with(".xctest");
}

bool anyBundleIsTestBundle() {
    if (hasTestBundleEnding(CFBundleGetMainBundle())) {
        return true;
    }
    CFArrayRef const bundles = CFBundleGetAllBundles();
    const CFIndex count = bundles == nullptr ? 0 : CFArrayGetCount(bundles);
    for (CFIndex index = 0; index < count; ++index) {
        const void* const bundle = CFArrayGetValueAtIndex(bundles, index);
        if (hasTestBundleEnding(static_cast<CFBundleRef>(const_cast<void*>(bundle)))) {
            return true;
        }
    }
    return false;
}

std::string processName() {
    const std::vector<std::string> given = arguments();
    return given.empty() ? "" : given.front().substr(given.front().rfind('/') + 1);
}

}  // namespace

std::string applicationSupportDir() {
    return root(applicationSupportDirOverrideEnv, homebrewMigrationApplicationSupportFlag,
                defaults().applicationSupport, "Application Support/Tolvaran");
}

std::string logsDir() {
    return root(logsDirOverrideEnv, homebrewMigrationLogsFlag, defaults().logs,
                "Library/Logs/Tolvaran");
}

std::string homebrewMigrationDir() {
    return root(homebrewMigrationDirOverrideEnv, homebrewMigrationBackupRootFlag,
                defaults().homebrewMigration, "Application Support/com.morvelli.TolvaranMigration");
}

std::string profileDir() {
    const auto value = environmentOverride(profileDirOverrideEnv);
    return value ? *value : applicationSupportPath("Settings");
}

std::string settingsDir() {
    return profileDir();
}

std::string stateDir() {
    return applicationSupportPath("State");
}

std::string recoveryDir() {
    return applicationSupportPath("Recovery");
}

std::string diagnosticsDir() {
    return applicationSupportPath("Diagnostics");
}

std::string developerDir() {
    return applicationSupportPath("Developer");
}

std::string calibrationDir() {
    return applicationSupportPath("Calibration");
}

std::string bugMarkTraceDir() {
    return diagnosticsPath("BugMarkTraces");
}

std::string maintainerConfigDir() {
    return defaultOrTestDirectory(defaults().maintainerConfig, "maintainer-config");
}

std::string legacyConfigDir() {
    return defaults().maintainerConfig;
}

std::string profilePath(const std::string& name) {
    return joined(profileDir(), name);
}

std::string settingsPath(const std::string& name) {
    return profilePath(name);
}

std::string applicationSupportPath(const std::string& name) {
    return joined(applicationSupportDir(), name);
}

std::string logsPath(const std::string& name) {
    return joined(logsDir(), name);
}

std::string statePath(const std::string& name) {
    return joined(stateDir(), name);
}

std::string recoveryPath(const std::string& name) {
    return joined(recoveryDir(), name);
}

std::string diagnosticsPath(const std::string& name) {
    return joined(diagnosticsDir(), name);
}

std::string developerPath(const std::string& name) {
    return joined(developerDir(), name);
}

std::string calibrationPath(const std::string& name) {
    return joined(calibrationDir(), name);
}

std::string maintainerConfigPath(const std::string& name) {
    return joined(maintainerConfigDir(), name);
}

std::string healInstanceMarkerPath() {
    return statePath("heal-instance");
}

std::string hotCornerDefaultsPath() {
    return profilePath("hot-corner-defaults.json");
}

bool isRunningUnderXCTest() {
    return std::getenv("XCTestConfigurationFilePath") != nullptr ||
           std::getenv("XCTestBundlePath") != nullptr || anyBundleIsTestBundle() ||
           text::lowercased(processName()).find("xctest") != std::string::npos;
}

}  // namespace tolvaran::TolvaranPaths
