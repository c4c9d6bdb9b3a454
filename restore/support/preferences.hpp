// The preferences of one domain, for the current user on any host, which is where the Dock's and
// the global settings are stored. Main thread only.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <optional>
#include <string>

#include "restore/support/cf_ref.hpp"

namespace tolvaran {

/// One preference domain, such as "com.apple.dock".
class PreferenceDomain {
  public:
    explicit PreferenceDomain(const std::string& applicationID);

    /// The domain that every application falls back to.
    static PreferenceDomain anyApplication();

    /// The value, of any type; null if the key is not set. Reads without synchronising first.
    CFRef<CFPropertyListRef> value(const std::string& key) const;

    /// The value of a number (truncated) or a boolean; none if the key is not set or holds anything
    /// else. Reads without synchronising first.
    std::optional<std::int64_t> integer(const std::string& key) const;

    /// Stores a number, or removes the key for none. Takes effect with the next synchronise.
    void setInteger(const std::string& key, std::optional<std::int64_t> value) const;

    /// Stores a boolean, or removes the key for none. Takes effect with the next synchronise.
    void setBoolean(const std::string& key, std::optional<bool> value) const;

    /// Writes pending changes of the domain for the current user on any host, and reads changes
    /// made elsewhere. False if the system refused.
    bool synchronize() const;

    /// Synchronises every domain that the application sees. False if the system refused.
    bool synchronizeApplication() const;

  private:
    explicit PreferenceDomain(CFRef<CFStringRef> identifier);
    void set(const std::string& key, CFPropertyListRef value) const;

    CFRef<CFStringRef> identifier_;
};

}  // namespace tolvaran
