#include "simulator/machine/instantiated_json.hpp"

TOLVARAN_INSTANTIATE_JSON(template)
