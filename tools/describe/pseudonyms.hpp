// Other names for the displays of a report, so that it reveals nothing about its user and plays the
// same: twins stay twins, records still match, and sorted things keep their order.
#pragma once

#include <map>
#include <set>
#include <string>

namespace tolvaran::describe {

/// The parts of "HW-vendor-model-serial".
struct HardwareID {
    std::string product;  // "HW-vendor-model-"
    std::string serial;   // digits, or "S" and a text; "0" for none
};

/// False, leaving `id` unchanged, for text of another form.
bool readHardwareID(const std::string& text, HardwareID& id);

class Pseudonyms {
  public:
    /// @param ids         every display ID, in any form
    /// @param serialTexts serial strings without a display ID
    /// @param names       names of products
    Pseudonyms(const std::set<std::string>& ids, const std::set<std::string>& serialTexts,
               const std::set<std::string>& names);

    /// The pseudonym of a display ID; the text itself if it is not known.
    std::string id(const std::string& text) const;
    /// A signature: display IDs joined with ",".
    std::string signature(const std::string& text) const;
    /// A serial number in digits, or "S" and a serial string.
    std::string serial(const std::string& text) const;
    std::string name(const std::string& text) const;

    /// The known display IDs of no particular form.
    const std::set<std::string>& freeIDs() const { return freeIDs_; }
    /// Every text that must not occur in an anonymous report.
    const std::set<std::string>& secrets() const { return secrets_; }

  private:
    void nameSerials(const std::set<std::string>& serials);
    void nameUUIDs(const std::set<std::string>& uuids);
    void nameFreeIDs(const std::set<std::string>& ids);

    std::map<std::string, std::string> serials_;
    std::map<std::string, std::string> ids_;
    std::map<std::string, std::string> names_;
    std::set<std::string> freeIDs_;
    std::set<std::string> secrets_;
};

}  // namespace tolvaran::describe
