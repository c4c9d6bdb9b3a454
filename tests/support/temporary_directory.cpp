#include "tests/support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace tolvaran::tests {
namespace {

void setEnvironment(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(name.c_str());
    }
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "tolvaran-XXXXXX").string();
    path_ = ::mkdtemp(name.data());
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Lines TemporaryDirectory::list() const {
    return filesBelow(path_);
}

Lines filesBelow(const std::string& directory) {
    Lines names;
    if (!std::filesystem::exists(directory)) {
        return names;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        names.push_back(entry.path().lexically_relative(directory).string() +
                        (entry.is_directory() ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    return names;
}

void writeFile(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    ASSERT_TRUE(file.good()) << path;
}

std::optional<std::string> readFile(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
    if (const char* const before = std::getenv(name_.c_str())) {
        before_ = before;
    }
    setEnvironment(name_, value);
}

ScopedEnvironment::~ScopedEnvironment() {
    setEnvironment(name_, before_);
}

}  // namespace tolvaran::tests
