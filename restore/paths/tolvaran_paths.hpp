// Where every file of the system lives. Used by the helper and by the main application, which must
// agree on every path.
//
// Nothing here touches the disk or creates a directory, and nothing fails. Every function looks at
// the environment and the arguments afresh; only the defaults and the test root are computed once.
// Any thread may call it as long as none changes the environment.
#pragma once

#include <string>

namespace tolvaran::TolvaranPaths {

// Environment variables that move a root. Unset, empty and blank values count as unset; any other
// value is used as given, with a leading "~" (alone or before a "/") expanded.
inline const std::string profileDirOverrideEnv = "TOLVARAN_CONFIG_DIR";
inline const std::string applicationSupportDirOverrideEnv = "TOLVARAN_APPLICATION_SUPPORT_DIR";
inline const std::string logsDirOverrideEnv = "TOLVARAN_LOGS_DIR";
inline const std::string homebrewMigrationDirOverrideEnv = "TOLVARAN_HOMEBREW_MIGRATION_DIR";

// Command-line flags of a migration run. The last three take an absolute path as the next argument
// and count only beside the first one.
inline const std::string homebrewMigrationPrepareFlag = "--prepare-homebrew-migration";
inline const std::string homebrewMigrationApplicationSupportFlag =
    "--homebrew-migration-application-support";
inline const std::string homebrewMigrationBackupRootFlag = "--homebrew-migration-backup-root";
inline const std::string homebrewMigrationLogsFlag = "--homebrew-migration-logs";

// Roots: the environment override, else the migration flag, else below the test root under a test
// runner, else the default in the user's home directory.

/// Default "~/Library/Application Support/Tolvaran".
std::string applicationSupportDir();
/// Default "~/Library/Logs/Tolvaran".
std::string logsDir();
/// Default "~/Library/Application Support/com.morvelli.TolvaranMigration".
std::string homebrewMigrationDir();

/// The main application's settings: the environment override, else "Settings" in the
/// application-support directory.
std::string profileDir();
std::string settingsDir();

// Fixed subdirectories of the application-support directory.
std::string stateDir();
std::string recoveryDir();
std::string diagnosticsDir();
std::string developerDir();
std::string calibrationDir();
std::string bugMarkTraceDir();

/// "~/.config/tolvaran", or below the test root under a test runner; nothing else moves it.
std::string maintainerConfigDir();
/// The user's real "~/.config/tolvaran", always.
std::string legacyConfigDir();

// The file with this name in the directory named like the function; a leading "/" in the name is
// ignored.
std::string profilePath(const std::string& name);
std::string settingsPath(const std::string& name);
std::string applicationSupportPath(const std::string& name);
std::string logsPath(const std::string& name);
std::string statePath(const std::string& name);
std::string recoveryPath(const std::string& name);
std::string diagnosticsPath(const std::string& name);
std::string developerPath(const std::string& name);
std::string calibrationPath(const std::string& name);
std::string maintainerConfigPath(const std::string& name);

/// "heal-instance" in the state directory.
std::string healInstanceMarkerPath();
/// "hot-corner-defaults.json" in the profile directory.
std::string hotCornerDefaultsPath();

/// Whether this process is a test runner, judging by its environment, by a loaded ".xctest" bundle
/// or by its name.
bool isRunningUnderXCTest();

}  // namespace tolvaran::TolvaranPaths
