#include "simulator/machine/machine_part.hpp"

namespace simulator {
namespace {

std::vector<PartFormat>& formats() {
    static auto& all = *new std::vector<PartFormat>;
    return all;
}

}  // namespace

void addPart(PartFormat format) {
    mac().parts[format.key] = format.initial;
    formats().push_back(std::move(format));
}

const std::vector<PartFormat>& partFormats() {
    return formats();
}

}  // namespace simulator
