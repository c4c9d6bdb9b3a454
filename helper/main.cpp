#include "helper/entry.hpp"

int main() {
    return tolvaran::helperMain();
}
