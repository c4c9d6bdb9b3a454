#include "player/environment.hpp"

#include <cstdlib>

namespace simulator {
namespace {

void setVariable(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace

TemporaryEnvironment::TemporaryEnvironment(
    const std::map<std::string, std::optional<std::string>>& values) {
    for (const auto& [name, value] : values) {
        const char* const before = std::getenv(name.c_str());
        before_[name] = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
        setVariable(name, value);
    }
}

TemporaryEnvironment::~TemporaryEnvironment() {
    for (const auto& [name, value] : before_) {
        setVariable(name, value);
    }
}

}  // namespace simulator
