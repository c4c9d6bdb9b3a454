#include "tools/describe/anonymous.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "report/text.hpp"
#include "restore/arrangement/formats.hpp"
#include "restore/arrangement/named_displays.hpp"
#include "restore/dock/formats.hpp"
#include "restore/menubar/formats.hpp"
#include "restore/modes/formats.hpp"
#include "tools/describe/base64.hpp"
#include "tools/describe/displays.hpp"
#include "tools/describe/json_text.hpp"
#include "tools/describe/pseudonyms.hpp"
#include "tools/describe/state_files.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;
using Texts = std::set<std::string>;

constexpr const char* settingsFile = "Settings/preferences.json";

template <typename Record>
void addKeys(Texts& keys) {
    std::apply([&](const auto&... rows) { (keys.insert(rows.key), ...); },
               tolvaran::json::Format<Record>::fields);
}

template <typename... Records>
Texts keysOf() {
    Texts keys;
    (addKeys<Records>(keys), ...);
    return keys;
}

/// Whether a record has a field with this key. Other keys are display IDs or unknown.
bool isKey(const std::string& text) {
    static const Texts keys =
        keysOf<AliasMap, AliasMap::Entry, OriginalsFile, OriginalsEntry, SeparatedSetsFile,
               SidePinnedSetsFile, ResolutionOriginalsFile, DisplayModeSpec,
               MenuBarAutohideSnapshot, MenuBarDisplayVisibilityOverride, DockHotCornerSnapshot,
               DockAutoHideOverride::Snapshot>();
    return keys.contains(text);
}

bool isAlphanumeric(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0;
}

// Where display IDs occur in log lines.

struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// The text between `before` and one of several texts that may follow.
std::optional<Span> between(const std::string& text, std::string_view before,
                            const std::vector<std::string_view>& after) {
    const std::size_t start = text.find(before);
    if (start == std::string::npos) {
        return std::nullopt;
    }
    Span span{start + before.size(), text.size()};
    for (const std::string_view ending : after) {
        span.end = std::min(span.end, text.find(ending, span.begin));
    }
    return span;
}

/// The display's ID before the mode in "apply failed for ID 1920 × 1080".
std::optional<Span> beforeMode(const std::string& text) {
    auto span = between(text, "apply failed for ", {" × "});
    if (span) {
        const std::size_t blank = text.rfind(' ', span->end);
        span->end = blank == std::string::npos ? span->end : std::max(blank, span->begin);
    }
    return span;
}

/// The place in a log line at which the helper names displays in any form.
std::optional<Span> namedSpan(const std::string& line) {
    if (auto span = between(
            line, "sig=",
            {" from ", " is itself", " has ", " is already", " was applied", ", skipping"})) {
        return span;
    }
    if (line.find("resolution restore: ") == std::string::npos) {
        return std::nullopt;
    }
    if (line.find("; keeping entry") == std::string::npos) {
        return between(line, "resolution restore: ", {" -> "});
    }
    return line.find("apply failed") != std::string::npos ? beforeMode(line)
                                                          : between(line, " for ", {"; keeping"});
}

/// The end of "1-2-3" from `begin` on: three numbers, or two and a text that begins with S.
std::size_t fingerprintEnd(const std::string& text, std::size_t begin) {
    std::size_t at = begin;
    for (int dashes = 0; dashes < 2; ++dashes) {
        const std::size_t digits = text.find_first_not_of("0123456789", at);
        if (digits == at || digits == std::string::npos || text[digits] != '-') {
            return begin;
        }
        at = digits + 1;
    }
    std::size_t end = at;
    while (end < text.size() && (isAlphanumeric(text[end]) || (text[end] & '\x80') != 0)) {
        ++end;
    }
    return end == at ? begin : end;
}

bool isHardwareID(const std::string& text, std::size_t at) {
    return std::string_view(text).substr(at).starts_with(fingerprintPrefix);
}

/// Calls `take` for each ID of a known form in the text, with its place.
void visitIDs(const std::string& text,
              const std::function<void(const Span&, const std::string&)>& take) {
    constexpr std::size_t uuidLength = 36;
    for (std::size_t at = 0; at < text.size();) {
        const bool begins = at == 0 || !isAlphanumeric(text[at - 1]);
        const std::size_t prefix = isHardwareID(text, at) ? fingerprintPrefix.size() : 0;
        const bool isID =
            prefix > 0 || std::string_view(text).substr(0, at).ends_with("fingerprint ");
        const std::size_t end = begins && isID ? fingerprintEnd(text, at + prefix) : at;
        if (begins && isUUID(text.substr(at, uuidLength))) {
            take({at, at + uuidLength}, text.substr(at, uuidLength));
            at += uuidLength;
        } else if (end > at + prefix) {
            take({at, end},
                 std::string(prefix == 0 ? fingerprintPrefix : "") + text.substr(at, end - at));
            at = end;
        } else {
            ++at;
        }
    }
}

// Finding everything to replace.

struct Found {
    Texts ids;
    Texts serials;
    Texts names;
};

void findInSignature(const std::string& text, Found& found) {
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = text.find(',', start);
        found.ids.insert(text.substr(start, end == std::string::npos ? end : end - start));
    }
}

void findInValue(const json& value, Found& found) {
    if (value.is_string()) {
        findInSignature(value.get<std::string>(), found);
    }
    if (!value.is_structured()) {
        return;
    }
    for (const auto& [key, part] : value.items()) {
        if (value.is_object() && !isKey(key)) {
            findInSignature(key, found);
        }
        findInValue(part, found);
    }
}

void findInText(const std::string& text, Found& found) {
    visitIDs(text, [&](const Span&, const std::string& id) { found.ids.insert(id); });
    if (const auto span = namedSpan(text)) {
        findInSignature(text.substr(span->begin, span->end - span->begin), found);
    }
}

void findNames(const json& name, Found& found) {
    if (name.is_string()) {
        found.names.insert(name.get<std::string>());
    }
    for (const json& translation : name.is_object() ? name : json::object()) {
        findNames(translation, found);
    }
}

void findInMac(const json& mac, Found& found) {
    for (const json& display : mac.value("displays", json::array())) {
        found.serials.insert(display.value("serial", json(0)).dump());
        if (display.contains("portUUID") && display["portUUID"].is_string()) {
            found.ids.insert(display["portUUID"].get<std::string>());
        }
    }
    const json menuBar = mac.value("menuBar", json::object());
    if (menuBar.contains("activeDisplay") && menuBar["activeDisplay"].is_string()) {
        found.ids.insert(menuBar["activeDisplay"].get<std::string>());
    }
    for (const json& service : mac.value("registry", json::array())) {
        const json serial = service.value("DisplaySerialString", json());
        if (serial.is_string()) {
            found.serials.insert("S" + serial.get<std::string>());
        }
        findNames(service.value("DisplayProductName", json()), found);
    }
}

// Files.

std::string bytesOf(const json& content) {
    if (content.is_object() && content.size() == 1 && content.contains("$data")) {
        return base64Decoded(content["$data"].get<std::string>());
    }
    return content.is_string() ? content.get<std::string>() : content.dump();
}

/// Where the text stops being JSON; the end if only a value is out of range.
std::size_t errorPlace(const std::string& text) {
    try {
        return json::parse(text).is_discarded() ? 0 : text.size();
    } catch (const json::parse_error& error) {
        return std::min(error.byte, text.size());
    } catch (const json::exception&) {
        return text.size();
    }
}

/// The length of the character that begins here; 0 for bytes that are not UTF-8.
std::size_t characterLength(const std::string& text, std::size_t at) {
    for (std::size_t length = 2; length <= 4 && at + length <= text.size(); ++length) {
        const std::string character = text.substr(at, length);
        const std::u32string points = simulator::report::codePoints(character);
        if (points.size() == 1 && simulator::report::utf8(points) == character) {
            return length;
        }
    }
    return 0;
}

/// Replaces letters, digits and other characters from `begin` to `end`, byte by byte. Escapes such
/// as "\n" stay.
void mask(std::string& text, std::size_t begin, std::size_t end) {
    for (std::size_t at = begin; at < end; ++at) {
        if (text[at] == '\\') {
            at += at + 1 < end && text[at + 1] == 'u' ? 5 : 1;
        } else if (isAlphanumeric(text[at])) {
            text[at] = std::isdigit(static_cast<unsigned char>(text[at])) != 0 ? '0' : 'x';
        } else if (const std::size_t length = characterLength(text, at);
                   length > 0 && (text[at] & '\x80') != 0) {
            std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(at), length, 'x');
            at += length - 1;
        }
    }
}

/// The end of the string literal whose first character is at `begin`.
std::size_t literalEnd(const std::string& text, std::size_t begin, std::size_t limit) {
    std::size_t at = begin;
    while (at < limit && text[at] != '"') {
        at += text[at] == '\\' ? 2 : 1;
    }
    return std::min(at, limit);
}

/// Replaces a number that begins here if it is as long as a serial number; returns the position of
/// its last digit.
std::size_t maskNumber(std::string& text, std::size_t begin, std::size_t limit) {
    constexpr std::size_t shortest = 5;
    const std::size_t end = std::min(text.find_first_not_of("0123456789", begin), limit);
    if (end - begin >= shortest) {
        std::fill(text.begin() + static_cast<std::ptrdiff_t>(begin),
                  text.begin() + static_cast<std::ptrdiff_t>(end), '1');
    }
    return end - 1;
}

/// Text that is not JSON, unreadable but wrong at the same place.
std::string masked(std::string text) {
    const std::size_t wrong = errorPlace(text);
    for (std::size_t at = 0; at < wrong; ++at) {
        if (std::isdigit(static_cast<unsigned char>(text[at])) != 0) {
            at = maskNumber(text, at, wrong);
        }
        if (text[at] != '"') {
            continue;
        }
        const std::size_t end = literalEnd(text, at + 1, wrong);
        if (!isKey(text.substr(at + 1, end - at - 1))) {
            mask(text, at + 1, end);
        }
        at = end;
    }
    mask(text, wrong, text.size());
    return text;
}

/// Replaces everything that was found.
class Disguise {
  public:
    Disguise(const Pseudonyms& pseudonyms, std::string home, std::vector<std::string>& notes)
        : pseudonyms_(pseudonyms), home_(std::move(home)), notes_(notes) {}

    void disguiseMac(json& mac) const {
        for (json& display : mac.contains("displays") ? mac["displays"] : nothing()) {
            display["serial"] = std::stoll(pseudonyms_.serial(display["serial"].dump()));
            disguiseID(display, "portUUID");
        }
        if (mac.contains("menuBar")) {
            disguiseID(mac["menuBar"], "activeDisplay");
        }
        for (json& service : mac.contains("registry") ? mac["registry"] : nothing()) {
            disguiseService(service);
        }
    }

    /// A file's content.
    json disguisedFile(const std::string& path, const json& content) const {
        const std::string bytes = bytesOf(content);
        const std::optional<json> value = parsed(bytes);
        if (!value) {
            return contentForm(masked(bytes));
        }
        return contentForm(disguisedValue(*value, path == settingsFile).dump());
    }

    /// A line of the log, or another text for people.
    std::string disguisedText(std::string text) const {
        if (const auto span = namedSpan(text)) {
            text.replace(span->begin, span->end - span->begin,
                         pseudonyms_.signature(text.substr(span->begin, span->end - span->begin)));
        } else {
            text = withoutKnownForms(text);
            for (const std::string& id : pseudonyms_.freeIDs()) {
                replaceAll(text, "\"" + id + "\"", "\"" + pseudonyms_.id(id) + "\"");
            }
        }
        replaceAll(text, home_, "/Users/user");
        for (const char* const parent : {"/Users/", "/home/", "/Volumes/"}) {
            hideName(text, parent);
        }
        return text;
    }

  private:
    static json& nothing() {
        static json empty;
        empty = json::array();
        return empty;
    }

    void disguiseID(json& object, const char* key) const {
        if (object.contains(key) && object[key].is_string()) {
            object[key] = pseudonyms_.id(object[key].get<std::string>());
        }
    }

    void disguiseService(json& service) const {
        if (service.contains("DisplaySerialString")) {
            json& serial = service["DisplaySerialString"];
            if (serial.is_string()) {
                serial = pseudonyms_.serial("S" + serial.get<std::string>()).substr(1);
            } else if (serial.is_structured()) {
                serial = json{{"$data", "AAAA"}};
            }
        }
        if (service.contains("DisplayProductName")) {
            disguiseName(service["DisplayProductName"]);
        }
    }

    void disguiseName(json& name) const {
        if (name.is_string()) {
            name = pseudonyms_.name(name.get<std::string>());
        }
        for (json& translation : name.is_object() ? name : nothing()) {
            disguiseName(translation);
        }
    }

    json disguisedValue(const json& value, bool isSetting) const {
        if (value.is_string()) {
            return pseudonyms_.signature(value.get<std::string>());
        }
        if (value.is_number_integer() && isSetting) {
            const std::string digits = value.dump();
            return digits.size() > 5 ? json::parse(pseudonyms_.serial(digits)) : value;
        }
        if (value.is_array()) {
            json list = json::array();
            for (const json& part : value) {
                list.push_back(disguisedValue(part, isSetting));
            }
            return list;
        }
        return value.is_object() ? disguisedObject(value, isSetting) : value;
    }

    json disguisedObject(const json& object, bool isSetting) const {
        json result = json::object();
        std::string last;
        for (const auto& [key, part] : object.items()) {
            const std::string name = isKey(key) ? key : pseudonyms_.signature(key);
            // Unknown keys among known ones are ignored: only lists of displays are traversed.
            if (!isKey(key) && name < last) {
                notes_.push_back("two displays' names have changed their order");
            }
            last = isKey(key) ? last : name;
            result[name] = disguisedValue(part, isSetting);
        }
        return result;
    }

    std::string withoutKnownForms(const std::string& text) const {
        std::string result;
        std::size_t done = 0;
        visitIDs(text, [&](const Span& span, const std::string& id) {
            const bool isWhole = isHardwareID(text, span.begin) || isUUID(id);
            result += text.substr(done, span.begin - done);
            result +=
                isWhole ? pseudonyms_.id(id) : pseudonyms_.id(id).substr(fingerprintPrefix.size());
            done = span.end;
        });
        return result + text.substr(done);
    }

    static void replaceAll(std::string& text, const std::string& what, const std::string& by) {
        for (std::size_t at = what.empty() ? std::string::npos : text.find(what);
             at != std::string::npos; at = text.find(what, at + by.size())) {
            text.replace(at, what.size(), by);
        }
    }

    /// The next component of each path that begins like this.
    static void hideName(std::string& text, const std::string& parent) {
        for (std::size_t at = text.find(parent); at != std::string::npos;
             at = text.find(parent, at + 1)) {
            const std::size_t begin = at + parent.size();
            const std::size_t end = std::min(text.find_first_of("/\"':", begin), text.size());
            text.replace(begin, end - begin, "user");
        }
    }

    const Pseudonyms& pseudonyms_;
    std::string home_;
    std::vector<std::string>& notes_;
};

Found findAll(const json& report) {
    Found found;
    findInMac(report["mac"], found);
    for (const auto& [path, content] : report["files"].items()) {
        if (const auto value = parsed(bytesOf(content))) {
            findInValue(*value, found);
        }
    }
    for (const json& line : report["log"]) {
        findInText(line.get<std::string>(), found);
    }
    return found;
}

}  // namespace

Anonymous anonymized(const json& report, const std::string& home) {
    Anonymous result{.scenario = report, .notes = {}};
    const Found found = findAll(report);
    const Pseudonyms pseudonyms(found.ids, found.serials, found.names);
    const Disguise disguise(pseudonyms, home, result.notes);
    json& scenario = result.scenario;
    disguise.disguiseMac(scenario["mac"]);
    for (auto& [path, content] : scenario["files"].items()) {
        content = disguise.disguisedFile(path, content);
    }
    for (json* const texts : {&scenario["log"], &scenario["about"]["left out"]}) {
        for (json& text : *texts) {
            text = disguise.disguisedText(text.get<std::string>());
        }
    }
    scenario["about"]["anonymous"] = true;
    const std::string all = scenario.dump(-1, ' ', false, json::error_handler_t::replace);
    result.isLeaky = std::ranges::any_of(pseudonyms.secrets(),
                                         [&](const std::string& secret) {
                                             return all.find(secret) != std::string::npos;
                                         }) ||
                     (home.size() > 1 && all.find(home) != std::string::npos);
    return result;
}

}  // namespace tolvaran::describe
