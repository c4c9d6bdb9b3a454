#include "tools/describe/pseudonyms.hpp"

#include <algorithm>
#include <iterator>
#include <vector>

#include "restore/arrangement/named_displays.hpp"
#include "restore/support/text.hpp"
#include "tools/describe/displays.hpp"

namespace tolvaran::describe {
namespace {

constexpr std::size_t shortestSecret = 5;  // a shorter text may occur anywhere

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// The display numbers after "Display-" identify nobody.
bool isDisplayNumber(const std::string& text) {
    return text.starts_with("Display-") && isNumber(text.substr(8));
}

/// Numbers of equal width, so that they sort by value.
std::string padded(std::size_t number, std::size_t width) {
    std::string digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

std::size_t widthFor(std::size_t count) {
    return std::to_string(count).size();
}

/// Whether any of the numbers from `first` on contains an original. Short ones are ignored: they
/// may occur anywhere.
bool holdsOriginal(std::size_t first, const std::vector<std::string>& originals) {
    for (std::size_t i = 0; i < originals.size(); ++i) {
        const std::string number = std::to_string(first + i);
        if (std::ranges::any_of(originals, [&](const std::string& original) {
                return original.size() > 2 && number.find(original) != std::string::npos;
            })) {
            return true;
        }
    }
    return false;
}

/// The first of the numbers that replace serial numbers.
std::size_t firstSerial(const std::vector<std::string>& originals) {
    for (std::size_t base = 1000; base <= 100'000'000; base *= 10) {
        for (std::size_t digit = 1; digit <= 9; ++digit) {
            if (!holdsOriginal(digit * base + 1, originals)) {
                return digit * base + 1;
            }
        }
    }
    return 4'000'000'001;  // there cannot be this many displays
}

/// `text` in the case of the UUID's letters; mixed case differs from both.
std::string inCaseOf(const std::string& uuid, const std::string& text) {
    const bool hasLower = uuid.find_first_of("abcdef") != std::string::npos;
    const bool hasUpper = uuid.find_first_of("ABCDEF") != std::string::npos;
    if (!hasLower) {
        return text;
    }
    return hasUpper ? text.substr(0, 9) + text::lowercased(text.substr(9)) : text::lowercased(text);
}

}  // namespace

bool readHardwareID(const std::string& text, HardwareID& id) {
    if (!text.starts_with(fingerprintPrefix)) {
        return false;
    }
    const std::size_t vendor = fingerprintPrefix.size();
    const std::size_t model = text.find('-', vendor);
    const std::size_t serial = model == std::string::npos ? model : text.find('-', model + 1);
    if (serial == std::string::npos || !isNumber(text.substr(vendor, model - vendor)) ||
        !isNumber(text.substr(model + 1, serial - model - 1))) {
        return false;
    }
    const std::string rest = text.substr(serial + 1);
    if (!isNumber(rest) && !(rest.size() > 1 && rest.front() == 'S')) {
        return false;
    }
    id = {text.substr(0, serial + 1), rest};
    return true;
}

Pseudonyms::Pseudonyms(const std::set<std::string>& ids, const std::set<std::string>& serialTexts,
                       const std::set<std::string>& names) {
    std::set<std::string> serials;
    std::set<std::string> uuids;
    for (const std::string& text : serialTexts) {
        serials.insert(text);
    }
    for (const std::string& id : ids) {
        HardwareID hardware;
        if (readHardwareID(id, hardware)) {
            serials.insert(hardware.serial);
        } else if (isUUID(id)) {
            uuids.insert(id);
        } else if (!id.empty() && !isDisplayNumber(id)) {
            freeIDs_.insert(id);
        }
    }
    nameSerials(serials);
    for (const std::string& id : ids) {
        HardwareID hardware;
        if (readHardwareID(id, hardware)) {
            ids_[id] = hardware.product + serial(hardware.serial);
        } else if (isDisplayNumber(id)) {
            ids_[id] = id;
        }
    }
    nameUUIDs(uuids);
    nameFreeIDs(ids);
    std::size_t number = 0;
    for (const std::string& name : names) {
        names_[name] = "Display model " + std::to_string(++number);
    }
}

void Pseudonyms::nameSerials(const std::set<std::string>& serials) {
    std::vector<std::string> numbers;
    std::vector<std::string> texts;
    for (const std::string& serial : serials) {
        if (serial != "0") {
            (isNumber(serial) ? numbers : texts).push_back(serial);
        }
        if (serial.size() > shortestSecret) {
            secrets_.insert(isNumber(serial) ? serial : serial.substr(1));
        }
    }
    const std::size_t first = firstSerial(numbers);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        serials_[numbers[i]] = std::to_string(first + i);
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        serials_[texts[i]] = "SN" + padded(i + 1, widthFor(texts.size()));
    }
}

void Pseudonyms::nameUUIDs(const std::set<std::string>& uuids) {
    std::set<std::string> folded;
    for (const std::string& uuid : uuids) {
        folded.insert(text::uppercased(uuid));
        secrets_.insert(uuid);
    }
    for (const std::string& uuid : uuids) {
        const auto place = static_cast<std::size_t>(
            std::distance(folded.begin(), folded.find(text::uppercased(uuid))));
        // The first digit stays, so that UUIDs sort as before among other names.
        ids_[uuid] = uuid.substr(0, 1) +
                     inCaseOf(uuid, padded(place + 1, 7) + "-AAAA-4AAA-8AAA-AAAAAAAAAAAA");
    }
}

/// A text of no known form sorts after the name before it.
void Pseudonyms::nameFreeIDs(const std::set<std::string>& ids) {
    const std::size_t width = widthFor(freeIDs_.size());
    std::string before;
    std::size_t number = 0;
    for (const std::string& id : ids) {
        if (const auto named = ids_.find(id); named != ids_.end()) {
            before = named->second;
        } else if (!id.empty()) {
            ids_[id] = before + "-alias" + padded(++number, width);
        }
    }
}

std::string Pseudonyms::id(const std::string& text) const {
    const auto found = ids_.find(text);
    return found == ids_.end() ? text : found->second;
}

std::string Pseudonyms::signature(const std::string& text) const {
    std::string result;
    std::size_t start = 0;
    for (std::size_t end = text.find(','); end != std::string::npos; end = text.find(',', start)) {
        result += id(text.substr(start, end - start)) + ",";
        start = end + 1;
    }
    return result + id(text.substr(start));
}

std::string Pseudonyms::serial(const std::string& text) const {
    const auto found = serials_.find(text);
    return found == serials_.end() ? text : found->second;
}

std::string Pseudonyms::name(const std::string& text) const {
    const auto found = names_.find(text);
    return found == names_.end() ? text : found->second;
}

}  // namespace tolvaran::describe
