// Base64 with padding, for data in JSON.
#pragma once

#include <string>
#include <string_view>

namespace simulator::cf {

std::string base64Encoded(std::string_view bytes);

/// @throws std::invalid_argument if `text` is not padded base64
std::string base64Decoded(std::string_view text);

}  // namespace simulator::cf
