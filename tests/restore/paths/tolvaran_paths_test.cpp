#include "restore/paths/tolvaran_paths.hpp"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <list>
#include <map>
#include <string>
#include <vector>

#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/patterns.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace TolvaranPaths;

const std::string defaultSupport = "/home/ada/Library/Application Support/Tolvaran";

/// A user with the home directory /home/ada, no overrides and no test runner.
class Paths : public testing::Test {
  protected:
    void SetUp() override {
        for (const auto& [name, value] : std::map<std::string, std::optional<std::string>>{
                 {"HOME", "/home/ada"},
                 {"TMPDIR", "/temporary/"},
                 {profileDirOverrideEnv, std::nullopt},
                 {applicationSupportDirOverrideEnv, std::nullopt},
                 {logsDirOverrideEnv, std::nullopt},
                 {homebrewMigrationDirOverrideEnv, std::nullopt},
                 {"XCTestConfigurationFilePath", std::nullopt},
                 {"XCTestBundlePath", std::nullopt}}) {
            environment_.emplace_back(name, value);
        }
        simulator::setArguments({"/opt/tolvaran_helper"});
        simulator::setBundlePaths({"/opt/Helper.app"});
        forgetProcessWideValues();
    }
    void TearDown() override { forgetProcessWideValues(); }

    void set(const std::string& name, const std::string& value) {
        environment_.emplace_back(name, value);
    }

  private:
    std::list<ScopedEnvironment> environment_;
};

TEST_F(Paths, NamesOfTheOverrides) {
    EXPECT_EQ(profileDirOverrideEnv, "TOLVARAN_CONFIG_DIR");
    EXPECT_EQ(applicationSupportDirOverrideEnv, "TOLVARAN_APPLICATION_SUPPORT_DIR");
    EXPECT_EQ(logsDirOverrideEnv, "TOLVARAN_LOGS_DIR");
    EXPECT_EQ(homebrewMigrationDirOverrideEnv, "TOLVARAN_HOMEBREW_MIGRATION_DIR");
    EXPECT_EQ(homebrewMigrationPrepareFlag, "--prepare-homebrew-migration");
    EXPECT_EQ(homebrewMigrationApplicationSupportFlag, "--homebrew-migration-application-support");
    EXPECT_EQ(homebrewMigrationBackupRootFlag, "--homebrew-migration-backup-root");
    EXPECT_EQ(homebrewMigrationLogsFlag, "--homebrew-migration-logs");
}

TEST_F(Paths, EverythingHasItsDefaultPlace) {
    const std::string support = defaultSupport;
    const std::vector<std::pair<std::string, std::string>> rows = {
        {applicationSupportDir(), support},
        {logsDir(), "/home/ada/Library/Logs/Tolvaran"},
        {homebrewMigrationDir(),
         "/home/ada/Library/Application Support/com.morvelli.TolvaranMigration"},
        {profileDir(), support + "/Settings"},
        {settingsDir(), support + "/Settings"},
        {stateDir(), support + "/State"},
        {recoveryDir(), support + "/Recovery"},
        {diagnosticsDir(), support + "/Diagnostics"},
        {developerDir(), support + "/Developer"},
        {calibrationDir(), support + "/Calibration"},
        {bugMarkTraceDir(), support + "/Diagnostics/BugMarkTraces"},
        {maintainerConfigDir(), "/home/ada/.config/tolvaran"},
        {legacyConfigDir(), "/home/ada/.config/tolvaran"},
        {profilePath("n"), support + "/Settings/n"},
        {settingsPath("n"), support + "/Settings/n"},
        {applicationSupportPath("n"), support + "/n"},
        {logsPath("n"), "/home/ada/Library/Logs/Tolvaran/n"},
        {statePath("n"), support + "/State/n"},
        {recoveryPath("n"), support + "/Recovery/n"},
        {diagnosticsPath("n"), support + "/Diagnostics/n"},
        {developerPath("n"), support + "/Developer/n"},
        {calibrationPath("n"), support + "/Calibration/n"},
        {maintainerConfigPath("n"), "/home/ada/.config/tolvaran/n"},
        {healInstanceMarkerPath(), support + "/State/heal-instance"},
        {hotCornerDefaultsPath(), support + "/Settings/hot-corner-defaults.json"},
    };
    for (const auto& [actual, expected] : rows) {
        EXPECT_EQ(actual, expected);
    }
}

TEST_F(Paths, EachRootHasItsEnvironmentOverride) {
    set(applicationSupportDirOverrideEnv, "/as");
    EXPECT_EQ(applicationSupportDir(), "/as");
    EXPECT_EQ(profileDir(), "/as/Settings");
    EXPECT_EQ(statePath("n"), "/as/State/n");
    EXPECT_EQ(logsDir(), "/home/ada/Library/Logs/Tolvaran");
    set(logsDirOverrideEnv, "/logs/");
    EXPECT_EQ(logsDir(), "/logs/");
    EXPECT_EQ(logsPath("n"), "/logs/n");
    set(homebrewMigrationDirOverrideEnv, "/migration");
    EXPECT_EQ(homebrewMigrationDir(), "/migration");
    set(profileDirOverrideEnv, "/profile");
    EXPECT_EQ(profileDir(), "/profile");
    EXPECT_EQ(settingsPath("n"), "/profile/n");
    EXPECT_EQ(hotCornerDefaultsPath(), "/profile/hot-corner-defaults.json");
    EXPECT_EQ(stateDir(), "/as/State");
}

TEST_F(Paths, BlankOverridesAreIgnoredAndOthersAreNotTrimmed) {
    for (const std::string blank : {"", "   ", "\n", " \t\n ", "\u0085", "\u00A0", "\u1680",
                                    "\u2003", "\u2028", "\u3000", "\u00A0 \u2003\n\u3000"}) {
        set(logsDirOverrideEnv, blank);
        EXPECT_EQ(logsDir(), "/home/ada/Library/Logs/Tolvaran") << testing::PrintToString(blank);
    }
    set(logsDirOverrideEnv, " /tmp/x");
    EXPECT_EQ(logsDir(), " /tmp/x");
    set(logsDirOverrideEnv, "/tmp/x ");
    EXPECT_EQ(logsDir(), "/tmp/x ");
    set(logsDirOverrideEnv, "\u00A0/tmp/x\u2003");
    EXPECT_EQ(logsDir(), "\u00A0/tmp/x\u2003");
    set(logsDirOverrideEnv, "\xA0");
    EXPECT_EQ(logsDir(), "\xA0");
}

TEST_F(Paths, ALeadingTildeIsTheHomeDirectory) {
    set(applicationSupportDirOverrideEnv, "~/AS");
    EXPECT_EQ(stateDir(), "/home/ada/AS/State");
    EXPECT_EQ(profileDir(), "/home/ada/AS/Settings");
    set(profileDirOverrideEnv, "~");
    EXPECT_EQ(profileDir(), "/home/ada");
    EXPECT_EQ(profilePath("n"), "/home/ada/n");
    set(profileDirOverrideEnv, "/x/~");
    EXPECT_EQ(profileDir(), "/x/~");
    set(profileDirOverrideEnv, " ~/x");
    EXPECT_EQ(profileDir(), " ~/x");
}

TEST_F(Paths, MigrationFlagsCountOnlyInAMigrationRun) {
    const std::vector<std::string> flags = {
        "helper", homebrewMigrationLogsFlag,       "/x", homebrewMigrationApplicationSupportFlag,
        " /y\n",  homebrewMigrationBackupRootFlag, "/z"};
    simulator::setArguments(flags);
    EXPECT_EQ(logsDir(), "/home/ada/Library/Logs/Tolvaran");

    std::vector<std::string> migration = flags;
    migration.push_back(homebrewMigrationPrepareFlag);
    simulator::setArguments(migration);
    EXPECT_EQ(logsDir(), "/x");
    EXPECT_EQ(applicationSupportDir(), "/y");
    EXPECT_EQ(profileDir(), "/y/Settings");
    EXPECT_EQ(homebrewMigrationDir(), "/z");
}

TEST_F(Paths, MigrationFlagsNeedAnAbsoluteValue) {
    const std::vector<std::vector<std::string>> rows = {
        {homebrewMigrationLogsFlag, "x"},
        {homebrewMigrationLogsFlag, "~/x"},
        {homebrewMigrationLogsFlag, ""},
        {homebrewMigrationLogsFlag},
        {homebrewMigrationLogsFlag, "x", homebrewMigrationLogsFlag, "/later"},  // the first counts
    };
    for (const auto& row : rows) {
        std::vector<std::string> arguments = {"helper", homebrewMigrationPrepareFlag};
        arguments.insert(arguments.end(), row.begin(), row.end());
        simulator::setArguments(arguments);
        EXPECT_EQ(logsDir(), "/home/ada/Library/Logs/Tolvaran") << testing::PrintToString(row);
    }
}

TEST_F(Paths, EnvironmentBeatsFlagsAndFlagsBeatTheTestRunner) {
    set("XCTestBundlePath", "");
    simulator::setArguments(
        {"helper", homebrewMigrationPrepareFlag, homebrewMigrationLogsFlag, "/flag"});
    EXPECT_EQ(logsDir(), "/flag");
    set(logsDirOverrideEnv, "/environment");
    EXPECT_EQ(logsDir(), "/environment");
}

TEST_F(Paths, UnderATestRunnerEverythingLiesBelowOneTemporaryDirectory) {
    set("XCTestConfigurationFilePath", "");
    const std::string support = applicationSupportDir();
    const std::string form = "(/temporary/tolvaran-tests-" + std::to_string(::getpid()) +
                             "-[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12})"
                             "/Application Support/Tolvaran";
    ASSERT_TRUE(matches(support, form)) << support;
    const std::string root = firstGroups(support, form).front();
    EXPECT_EQ(logsDir(), root + "/Library/Logs/Tolvaran");
    EXPECT_EQ(homebrewMigrationDir(), root + "/Application Support/com.morvelli.TolvaranMigration");
    EXPECT_EQ(maintainerConfigDir(), root + "/maintainer-config");
    EXPECT_EQ(profileDir(), support + "/Settings");
    EXPECT_EQ(legacyConfigDir(), "/home/ada/.config/tolvaran");

    forgetProcessWideValues();
    EXPECT_NE(applicationSupportDir(), support);  // another process has another root
}

TEST_F(Paths, TheDefaultsAreComputedOnce) {
    EXPECT_EQ(applicationSupportDir(), defaultSupport);
    set("HOME", "/home/elsewhere");
    EXPECT_EQ(applicationSupportDir(), defaultSupport);
    EXPECT_EQ(legacyConfigDir(), "/home/ada/.config/tolvaran");
}

TEST_F(Paths, WithoutAHomeVariableTheUsersAccountGivesTheHome) {
    const std::string home = ::getpwuid(::getuid())->pw_dir;
    for (const char* const unusable : {"", "relative"}) {
        set("HOME", unusable);
        forgetProcessWideValues();
        EXPECT_EQ(legacyConfigDir(), home + "/.config/tolvaran") << unusable;
    }
    const ScopedEnvironment none("HOME", std::nullopt);
    forgetProcessWideValues();
    EXPECT_EQ(legacyConfigDir(), home + "/.config/tolvaran");
    simulator::addFault({{"call", "getpwuid"}, {"result", nullptr}});
    forgetProcessWideValues();
    EXPECT_EQ(legacyConfigDir(), "/.config/tolvaran");
    simulator::clearFaults();
}

TEST_F(Paths, OneSeparatorPrecedesTheName) {
    set("TOLVARAN_APPLICATION_SUPPORT_DIR", "/as");
    EXPECT_EQ(statePath("/name"), "/as/State/name");
    EXPECT_EQ(statePath("//deep/name"), "/as/State/deep/name");
    EXPECT_EQ(applicationSupportPath("/"), "/as/");
    set("TOLVARAN_LOGS_DIR", "/logs/");
    EXPECT_EQ(logsPath("/name"), "/logs/name");
}

TEST_F(Paths, AMigrationRunNeedsNoFurtherFlags) {
    simulator::setArguments({"helper", homebrewMigrationPrepareFlag});
    EXPECT_EQ(logsDir(), "/home/ada/Library/Logs/Tolvaran");
}

TEST_F(Paths, TheTestRootNeedsNeitherTMPDIRNorAUUID) {
    set("XCTestBundlePath", "x");
    set("TMPDIR", "relative");
    simulator::addFault({{"call", "CFUUIDCreate"}, {"result", nullptr}});
    const std::string root = "/tmp/tolvaran-tests-" + std::to_string(::getpid()) + "-";
    EXPECT_EQ(logsDir(), root + "/Library/Logs/Tolvaran");
    const ScopedEnvironment none("TMPDIR", std::nullopt);
    forgetProcessWideValues();
    EXPECT_EQ(logsDir(), root + "/Library/Logs/Tolvaran");
    simulator::clearFaults();
}

TEST_F(Paths, UnreadableBundlesAndArgumentsAreNotATestRunner) {
    simulator::setBundlePaths({"/a/Suite.xctest"});
    simulator::addFault({{"call", "CFBundleGetMainBundle"}, {"result", nullptr}});
    EXPECT_TRUE(isRunningUnderXCTest()) << "it is among all bundles";
    simulator::addFault({{"call", "CFBundleGetAllBundles"}, {"result", nullptr}});
    EXPECT_FALSE(isRunningUnderXCTest());
    simulator::clearFaults();
    for (const auto& [call, result] : std::vector<std::pair<std::string, nlohmann::json>>{
             {"CFBundleCopyBundleURL", nullptr}, {"CFURLGetFileSystemRepresentation", false}}) {
        simulator::addFault({{"call", call}, {"result", result}});
        EXPECT_FALSE(isRunningUnderXCTest()) << call;
        simulator::clearFaults();
    }
    simulator::setBundlePaths({"/a/Helper.app"});
    simulator::setArguments({});
    EXPECT_FALSE(isRunningUnderXCTest());
}

TEST_F(Paths, ATestRunnerIsRecognisedByEnvironmentBundlesAndName) {
    EXPECT_FALSE(isRunningUnderXCTest());
    {
        const ScopedEnvironment set("XCTestConfigurationFilePath", "");
        EXPECT_TRUE(isRunningUnderXCTest());
    }
    {
        const ScopedEnvironment set("XCTestBundlePath", "x");
        EXPECT_TRUE(isRunningUnderXCTest());
    }
    EXPECT_FALSE(isRunningUnderXCTest());

    const std::vector<std::pair<std::vector<std::string>, bool>> bundles = {
        {{"/a/Suite.xctest"}, true},
        {{"/a/Helper.app", "/a/Suite.xctest"}, true},
        {{"/a/Helper.app", "/a/Suite.xctest.app"}, false},
        {{"/a/xctest"}, false},
    };
    for (const auto& [paths, expected] : bundles) {
        simulator::setBundlePaths(paths);
        EXPECT_EQ(isRunningUnderXCTest(), expected) << testing::PrintToString(paths);
    }
    simulator::setBundlePaths({"/a/Helper.app"});

    const std::vector<std::pair<std::string, bool>> names = {
        {"/usr/bin/XCTest", true},       {"myxcTesting", true}, {"/opt/xctest/tool", false},
        {"/opt/tolvaran_helper", false}, {"", false},
    };
    for (const auto& [name, expected] : names) {
        simulator::setArguments({name});
        EXPECT_EQ(isRunningUnderXCTest(), expected) << name;
    }
}

}  // namespace
}  // namespace tolvaran::tests
