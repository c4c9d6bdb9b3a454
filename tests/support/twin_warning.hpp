// The warning about displays that only their ports tell apart.
#pragma once

#include <string>

namespace tolvaran::tests {

/// The log line for one of several displays with this fingerprint.
inline std::string twinWarning(const std::string& fingerprint) {
    return "warn: Multiple displays with fingerprint " + fingerprint +
           ", disambiguating via port-UUID";
}

}  // namespace tolvaran::tests
