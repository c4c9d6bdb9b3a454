#include "fuzz/check.hpp"

#include <cstdlib>
#include <iostream>

namespace tolvaran::fuzz {

void fail(const std::string& what) {
    std::cerr << "fuzz: " << what << std::endl;
    std::abort();
}

void require(bool holds, const std::string& what) {
    if (!holds) {
        fail(what);
    }
}

}  // namespace tolvaran::fuzz
