// Whether a record may have become another one, or gone: what it no longer says is in force on the
// Mac. For the rows of records.cpp; mayBecome() there says what the parameters are.
#pragma once

#include "tests/support/records/records.hpp"

namespace tolvaran::tests::in_force {

bool modesMayBecome(const nlohmann::json& before, const nlohmann::json& after,
                    const Moment& moment);
bool menuBarMayBecome(const nlohmann::json& before, const nlohmann::json& after,
                      const Moment& moment);
bool cornersMayBecome(const nlohmann::json& before, const nlohmann::json& after,
                      const Moment& moment);
bool dockMarkerMayBecome(const nlohmann::json& before, const nlohmann::json& after,
                         const Moment& moment);
bool holdMayBecome(const nlohmann::json& before, const nlohmann::json& after, const Moment& moment);
bool marksMayBecome(const nlohmann::json& before, const nlohmann::json& after,
                    const Moment& moment);

}  // namespace tolvaran::tests::in_force
