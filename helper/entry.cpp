#include "helper/entry.hpp"

#include <csignal>
#include <memory>
#include <string>

#include "helper/helper.hpp"
#include "helper/helper_log.hpp"
#include "platform/workspace.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran {

void setUpLogging() {
    setUpHelperLog();
    const auto sink = [](const std::string& level) {
        return [level](const std::string& message) { helperLog(level, message); };
    };
    RestoreLog::debug = sink("debug");
    RestoreLog::info = sink("info");
    RestoreLog::warn = sink("warn");
}

int helperMain() {
    // Otherwise a file opened first would get a stream's number: the log would also receive what
    // goes to standard error.
    files::openStandardStreams();
    // The helper must survive the end of the process that reads its standard error.
    std::signal(SIGPIPE, SIG_IGN);
    setUpLogging();
    // A helper that was killed while changing a record left something behind.
    files::removeAbandonedFiles(TolvaranPaths::stateDir());
    workspace::prohibitActivation();

    static ProcessWide<std::shared_ptr<Helper>> helper;
    workspace::withAutoreleasePool([] { helper.get(Helper::make)->start(); });
    workspace::runEventLoop();
    return 0;
}

}  // namespace tolvaran
