// The names of error codes, as faults give them.
#pragma once

#include <optional>
#include <string_view>

namespace simulator {

/// The code of a name such as "ENOSPC"; none if the name is not known.
std::optional<int> errorCode(std::string_view name);

}  // namespace simulator
