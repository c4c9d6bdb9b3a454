// Encodes bytes that JSON cannot hold as text.
#pragma once

#include <string>
#include <string_view>

namespace tolvaran::describe {

/// `bytes` as base64 with padding.
std::string base64(std::string_view bytes);

/// The bytes that base64() encoded as this text.
std::string base64Decoded(std::string_view text);

}  // namespace tolvaran::describe
