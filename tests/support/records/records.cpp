#include "tests/support/records/records.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "tests/support/patterns.hpp"
#include "tests/support/records/rows.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// The text with each number too large for a double replaced by something that no field accepts.
/// JSON allows such numbers, and they may be where nothing reads them. A very large text stays.
std::string withoutHugeNumbers(const std::string& text) {
    constexpr std::size_t largest = 1'000'000;
    if (text.size() > largest) {
        return text;
    }
    std::string result;
    bool isInText = false;
    for (const char* at = text.c_str(); at != text.c_str() + text.size();) {
        const bool isEscaped = isInText && *at == '\\' && at[1] != '\0';
        isInText = isInText != (*at == '"');
        char* end = nullptr;
        const char digit = *at == '-' ? at[1] : *at;
        const bool isNumber = !isInText && std::isdigit(static_cast<unsigned char>(digit)) != 0;
        const bool isHuge = isNumber && std::isinf(std::strtod(at, &end));
        const char* const next = isNumber && end != at ? end : at + (isEscaped ? 2 : 1);
        result += isHuge ? "[{}]" : std::string(at, next);
        at = next;
    }
    return result;
}

/// Whether the text opens so many more lists and objects than it closes that it cannot be a record.
/// The parser would take long to find that out.
bool opensFarTooMany(const std::string& text) {
    constexpr int most = 10'000;
    int open = 0;
    bool isInText = false;
    for (std::size_t at = 0; at < text.size() && open <= most; ++at) {
        const char c = text[at];
        isInText = isInText != (c == '"');
        at += isInText && c == '\\' ? 1 : 0;
        open += isInText ? 0 : c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
    }
    return open > most;
}

/// The content as a document. Text with a zero byte or nested too deeply is not one.
json parsed(const std::string& content) {
    constexpr int deepest = 512;
    if (opensFarTooMany(content)) {
        return json::value_t::discarded;
    }
    bool isTooDeep = content.find('\0') != std::string::npos;
    const auto measure = [&](int depth, json::parse_event_t /*event*/, json& /*value*/) {
        isTooDeep = isTooDeep || depth > deepest;
        return !isTooDeep;
    };
    json document = json::parse(withoutHugeNumbers(content), measure, false);
    return isTooDeep ? json(json::value_t::discarded) : document;
}

}  // namespace

const std::vector<Record>& records() {
    static const std::vector<Record> all = [] {
        std::vector<Record> list;
        for (const auto& rows :
             {arrangementRecords(), modesRecords(), menuBarRecords(), dockRecords()}) {
            list.insert(list.end(), rows.begin(), rows.end());
        }
        return list;
    }();
    return all;
}

const Record* findRecord(const std::string& path) {
    const auto found = std::ranges::find(records(), path, &Record::path);
    return found == records().end() ? nullptr : &*found;
}

bool isUsable(const Record& record, const std::string& content) {
    const json document = parsed(content);
    return record.isUsable == nullptr || (!document.is_discarded() && record.isUsable(document));
}

bool mayBecome(const Record& record, const json& before, const json& after, const Moment& moment) {
    const bool mayBeReplaced = record.isRewritten || moment.byApplication;
    return record.mayBecome != nullptr && (after.is_null() || mayBeReplaced) &&
           record.mayBecome(before, after, moment);
}

bool mayBeLostBy(const Record& record, const std::string& function) {
    return std::ranges::any_of(record.losses, [&](const Loss& loss) {
        return !loss.onlyByApplication && loss.places.starts_with("record") &&
               std::ranges::find(loss.functions, function) != loss.functions.end();
    });
}

std::string escaped(const std::string& path) {
    return replaced(path, R"([.])", R"(\.)");
}

}  // namespace tolvaran::tests
