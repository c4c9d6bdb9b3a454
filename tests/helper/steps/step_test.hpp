// What the tests of the individual restore steps share.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <optional>
#include <string>

#include "tests/helper/helper_test.hpp"

namespace tolvaran::tests {

/// One step in the helper's process, with the files in its state directory.
class StepTest : public testing::Test, protected HelperProcess {
  protected:
    using Step = void (*)(const std::string& tag, std::optional<pid_t> exitedPID);

    StepTest(Step step, std::string name) : step_(step), name_(std::move(name)) {}

    /// Runs the step, and returns what it logs.
    Lines run(const std::string& tag = "cold-start",
              std::optional<pid_t> exitedPID = std::nullopt) {
        step_(tag, exitedPID);
        return takeLog();
    }

    /// The only line that the step logs while the main application runs.
    std::string skips(const std::string& tag, pid_t pid) const {
        return tests::skips(name_, tag, pid);
    }

    void write(const std::string& name, const std::string& content) const {
        writeFile(state(name), content);
    }
    std::optional<std::string> read(const std::string& name) const { return readFile(state(name)); }

  private:
    Step step_;
    std::string name_;
};

}  // namespace tolvaran::tests
