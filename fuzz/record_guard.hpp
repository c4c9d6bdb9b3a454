// Watches the records while the helper runs: a record, or a part of one, may only be removed if the
// Mac matches it at that moment, or if its row says that it may be lost (tests/support/records).
#pragma once

#include <set>
#include <string>
#include <vector>

namespace tolvaran::fuzz {

class RecordGuard {
  public:
    /// @param root   below which the application-support directory lies
    /// @param faulty the functions that fail at some point of the run
    RecordGuard(std::string root, const std::vector<std::string>& faulty);

    /// Looks at a call that is about to be made. If it removes or replaces a record, compares the
    /// record with the Mac.
    void watch(const std::string& function);

    /// Describes what was removed too early.
    const std::vector<std::string>& losses() const { return losses_; }

  private:
    void check(const std::string& name, const std::string& path, const std::string& function);

    std::string root_;
    std::set<std::string> faulty_;
    std::vector<std::string> losses_;
};

}  // namespace tolvaran::fuzz
