// Bytes as text, for what JSON cannot hold.
#pragma once

#include <string>
#include <string_view>

namespace tolvaran::describe {

/// `bytes` as base64 with padding.
std::string base64(std::string_view bytes);

}  // namespace tolvaran::describe
