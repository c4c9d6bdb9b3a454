// Bytes as text, for what JSON cannot hold.
#pragma once

#include <string>
#include <string_view>

namespace tolvaran::describe {

/// `bytes` as base64 with padding.
std::string base64(std::string_view bytes);

/// The bytes that base64() made the text of.
std::string base64Decoded(std::string_view text);

}  // namespace tolvaran::describe
