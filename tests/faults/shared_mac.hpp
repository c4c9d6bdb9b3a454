// One simulated Mac for several real processes. Each of them has a copy in its memory; every call
// to one of Apple's functions has the Mac for itself, and begins with what the call before it left,
// in whichever process that was.
#pragma once

#include <functional>
#include <string>

namespace tolvaran::tests {

class SharedMac {
  public:
    /// Keeps the Mac in the directory, as this process's Mac is now.
    explicit SharedMac(const std::string& directory);
    ~SharedMac();
    SharedMac(const SharedMac&) = delete;
    SharedMac& operator=(const SharedMac&) = delete;

    /// Lets this process's calls meet the shared Mac from now on: once in each process.
    void join();

    /// Does `work` while no process is within a call, with the shared Mac as this process's.
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
