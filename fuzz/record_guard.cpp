#include "fuzz/record_guard.hpp"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "simulator/simulator.hpp"
#include "tests/support/records/records.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::fuzz {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// What is being written to take the file's place.
std::optional<std::string> unfinishedContent(const std::string& path) {
    const fs::path file(path);
    const std::string prefix = "." + file.filename().string() + ".unfinished-";
    for (const auto& entry : fs::directory_iterator(file.parent_path())) {
        if (entry.path().filename().string().starts_with(prefix)) {
            return tests::readFile(entry.path().string());
        }
    }
    return std::nullopt;
}

json parsed(const std::optional<std::string>& content) {
    const json value = json::parse(content.value_or("null"), nullptr, false);
    return value.is_discarded() ? json() : value;
}

/// The record that was moved aside to this name, to be removed; else the name itself.
std::string recordName(const std::string& name) {
    const auto begin = name.rfind('/') + 1;
    const auto marker = name.rfind(".removing-");
    return marker == name.npos ? name
                               : name.substr(0, begin) + name.substr(begin + 1, marker - begin - 1);
}

}  // namespace

RecordGuard::RecordGuard(std::string root, const std::vector<std::string>& faulty)
    : root_(std::move(root)), faulty_(faulty.begin(), faulty.end()) {}

void RecordGuard::watch(const std::string& function) {
    if (function != "unlink" && function != "rename") {
        return;
    }
    const std::string directory = root_ + "/ApplicationSupport/";
    const std::string path = simulator::callSubject();
    if (path.starts_with(directory)) {
        check(recordName(path.substr(directory.size())), path, function);
    }
}

void RecordGuard::check(const std::string& name, const std::string& path,
                        const std::string& function) {
    const tests::Record* const record = tests::findRecord(name);
    const std::optional<std::string> content = tests::readFile(path);
    if (record == nullptr || !content) {
        return;  // an unfinished file, the heartbeat, or nothing that could be lost
    }
    const bool isExcepted = std::any_of(faulty_.begin(), faulty_.end(), [&](const auto& call) {
        return tests::mayBeLostBy(*record, call);
    });
    const json before = parsed(content);
    const json after = function == "rename" ? parsed(unfinishedContent(path)) : json();
    const bool staysAsItIs = !before.is_null() && before == after;
    const tests::Moment moment{
        .mac = simulator::machine(), .posted = simulator::notifications(), .namesMayFold = true};
    if (!isExcepted && !staysAsItIs && !tests::mayBecome(*record, before, after, moment)) {
        losses_.push_back(name + " went from " + before.dump() + " to " + after.dump());
    }
}

}  // namespace tolvaran::fuzz
