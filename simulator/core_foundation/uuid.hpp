// Recognises UUIDs, for the parts of the simulator that read them as text.
#pragma once

#include <string_view>

namespace simulator::cf {

/// Whether `text` has the form 8-4-4-4-12 in hexadecimal digits of either case.
bool isUUID(std::string_view text);

}  // namespace simulator::cf
