// One simulated Mac for several real processes. Each of them has a copy in its memory; every call
// to one of Apple's functions has the Mac to itself, and starts with what the previous call in any
// process left.
#pragma once

#include <functional>
#include <string>

namespace tolvaran::tests {

class SharedMac {
  public:
    /// Stores this process's Mac in the directory.
    explicit SharedMac(const std::string& directory);
    ~SharedMac();
    SharedMac(const SharedMac&) = delete;
    SharedMac& operator=(const SharedMac&) = delete;

    /// From now on this process's calls use the shared Mac. Called once in each process.
    void join();

    /// Runs `work` on the shared Mac while no process is inside a call.
    void alone(const std::function<void()>& work);

  private:
    void take();
    void giveBack();

    std::string file_;
    std::string lockFile_;
    int lock_ = -1;
    bool isTaken_ = false;
};

}  // namespace tolvaran::tests
