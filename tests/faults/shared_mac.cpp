#include "tests/faults/shared_mac.hpp"

#include <sys/file.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "simulator/host/host_calls.hpp"
#include "simulator/machine/json_reader.hpp"
#include "simulator/machine/mac_json.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran::tests {

SharedMac::SharedMac(const std::string& directory)
    : file_(directory + "/mac.json"), lockFile_(directory + "/mac.lock") {
    std::ofstream(lockFile_).close();
    isTaken_ = true;
    giveBack();
}

SharedMac::~SharedMac() {
    if (lock_ >= 0) {
        __real_close(lock_);
    }
}

void SharedMac::join() {
    // A lock belongs to an open file, and a forked process shares its parent's.
    lock_ = __real_open(lockFile_.c_str(), O_RDWR | O_CLOEXEC);
    simulator::decideCalls([this](const std::string& function) {
        giveBack();
        if (std::isupper(static_cast<unsigned char>(function.front())) != 0) {
            take();
        }
        return nlohmann::json();
    });
}

void SharedMac::alone(const std::function<void()>& work) {
    giveBack();
    take();
    work();
    giveBack();
}

void SharedMac::take() {
    if (__real_flock(lock_, LOCK_EX) != 0) {
        throw std::runtime_error("the Mac cannot be locked");
    }
    std::ifstream in(file_);
    const nlohmann::json mac = nlohmann::json::parse(in);
    simulator::mac() = simulator::readMachine(simulator::JsonReader(mac, "mac"));
    isTaken_ = true;
}

void SharedMac::giveBack() {
    if (!isTaken_) {
        return;
    }
    // A process that is killed here leaves the Mac as it was before the call.
    const std::string unfinished = file_ + ".unfinished";
    std::ofstream(unfinished) << simulator::machine();
    std::filesystem::rename(unfinished, file_);
    isTaken_ = false;
    if (lock_ >= 0) {
        __real_flock(lock_, LOCK_UN);
    }
}

}  // namespace tolvaran::tests
