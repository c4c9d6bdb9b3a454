#include "simulator/machine/readable_text.hpp"

#include <nlohmann/json.hpp>

namespace simulator {

std::string readableText(const std::string& bytes) {
    using nlohmann::json;
    const std::string literal = json(bytes).dump(-1, ' ', false, json::error_handler_t::replace);
    return json::parse(literal).get<std::string>();
}

}  // namespace simulator
