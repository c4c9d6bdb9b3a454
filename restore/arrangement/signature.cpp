#include "restore/arrangement/signature.hpp"

#include <algorithm>

namespace tolvaran::Zigzag {

std::string signature(std::vector<std::string> canonicalIDs) {
    std::sort(canonicalIDs.begin(), canonicalIDs.end());
    std::string result;
    const char* separator = "";
    for (const std::string& id : canonicalIDs) {
        result += separator + id;
        separator = ",";
    }
    return result;
}

}  // namespace tolvaran::Zigzag
