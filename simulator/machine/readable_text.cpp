#include "simulator/machine/readable_text.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace simulator {

std::string readableText(const std::string& bytes) {
    using nlohmann::json;
    const bool isASCII =
        std::ranges::none_of(bytes, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    if (isASCII) {
        return bytes;
    }
    const std::string literal = json(bytes).dump(-1, ' ', false, json::error_handler_t::replace);
    return json::parse(literal).get<std::string>();
}

}  // namespace simulator
