// Watches over the records while the helper runs: a record, or a part of one, may only go when what
// it stands for is in force on the Mac at that moment, or when its row says that it may be lost
// (tests/support/records).
#pragma once

#include <set>
#include <string>
#include <vector>

namespace tolvaran::fuzz {

class RecordGuard {
  public:
    /// @param root   below which the application-support directory lies
    /// @param faulty the functions that fail at some time of the run
    RecordGuard(std::string root, const std::vector<std::string>& faulty);

    /// Looks at a call that is about to be made: when it removes or replaces a record, at the
    /// record and at the Mac.
    void watch(const std::string& function);

    /// What went that must not have gone, described.
    const std::vector<std::string>& losses() const { return losses_; }

  private:
    void check(const std::string& name, const std::string& path, const std::string& function);

    std::string root_;
    std::set<std::string> faulty_;
    std::vector<std::string> losses_;
};

}  // namespace tolvaran::fuzz
