#include "tools/describe/health_text.hpp"

#include <array>
#include <cmath>
#include <utility>

#include "report/text.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;
using namespace simulator::report;

constexpr std::array<const char*, 3> states{"alive", "dead", "never there"};

const char* stateOf(const Health& health) {
    return states[static_cast<std::size_t>(health.helper)];
}

/// "12 seconds", "3 minutes", "2 hours", "5 days".
std::string duration(double seconds) {
    constexpr std::array<std::pair<double, const char*>, 4> units{
        {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}}};
    for (const auto& [length, name] : units) {
        const double count = std::floor(seconds / length);
        if (count >= 1 || length == 1) {
            return number(std::max(count, 0.0)) + " " + name + (count == 1 ? "" : "s");
        }
    }
    return "";
}

/// Writes in colour if the terminal has colours, and in ASCII if it shows nothing else.
class Writer {
  public:
    explicit Writer(const Terminal& terminal) : terminal_(terminal) {}

    std::string inked(const char* colour, const std::string& text) const {
        const std::string plain = shown(text);
        return terminal_.hasColour ? std::string(colour) + plain + "\x1b[0m" : plain;
    }
    std::string bold(const std::string& text) const { return inked("\x1b[1m", text); }
    std::string good(const std::string& text) const { return inked("\x1b[1;32m", text); }
    std::string bad(const std::string& text) const { return inked("\x1b[1;31m", text); }
    std::string reason(const std::string& text) const { return inked("\x1b[33m", text); }

    std::string shown(const std::string& text) const {
        std::string result = oneLine(text);
        if (!terminal_.hasBoxDrawing) {
            for (const auto& [sign, ascii] : replacements) {
                for (std::size_t at = result.find(sign); at != std::string::npos;
                     at = result.find(sign, at)) {
                    result.replace(at, std::string_view(sign).size(), ascii);
                }
            }
        }
        return result;
    }

  private:
    static constexpr std::array<std::pair<const char*, const char*>, 4> replacements{
        {{"×", "x"}, {"·", "-"}, {"’", "'"}, {"→", "->"}}};

    const Terminal& terminal_;
};

std::string helperText(const Health& health, const Writer& writer) {
    if (health.helper == Health::Helper::neverThere) {
        return writer.bad("The helper has never run.") + " Nothing puts this Mac back.\n";
    }
    const bool isAlive = health.helper == Health::Helper::alive;
    std::string text = isAlive ? writer.good("The helper is alive.")
                               : writer.bad("The helper is dead.") + " Nothing puts this Mac back.";
    if (health.heartbeatAge) {
        text += " Last heartbeat " + duration(*health.heartbeatAge) + " ago.";
    }
    if (health.helperPID) {
        text += writer.shown(std::string(isAlive ? " Process " : " It was process ") +
                             std::to_string(*health.helperPID) + ", started " + health.helperStart +
                             ".");
    }
    return text + "\n";
}

std::string factText(const Fact& fact) {
    const std::string after = fact.after.empty() ? "–" : fact.after;
    return fact.name + ": " + (fact.before.empty() ? after : fact.before + " → " + after);
}

std::string recordText(const WaitingRecord& record, const Writer& writer) {
    std::string text = "\n" + writer.bold(record.title) + "\n";
    for (const FactGroup& group : record.changes) {
        // Often the record covers nothing else, and its title says so already.
        const bool isTold = group.title == record.title;
        text += isTold ? "" : "  " + writer.shown(group.title) + "\n";
        for (const Fact& fact : group.facts) {
            text += (isTold ? "  " : "    ") + writer.shown(factText(fact)) + "\n";
        }
    }
    for (const std::string& reason : record.reasons) {
        text += "  " + writer.reason("waits: " + reason) + "\n";
    }
    return text;
}

}  // namespace

std::string healthText(const Health& health, const Terminal& terminal) {
    const Writer writer(terminal);
    std::string text = helperText(health, writer);
    text += health.tolvaranPID
                ? "Tolvaran is running (process " + std::to_string(*health.tolvaranPID) + ").\n"
                : "Tolvaran is not running.\n";
    for (const LackingFunction& function : health.lacking) {
        text +=
            writer.shown("This macOS lacks " + function.name + ": " + function.cost + ".") + "\n";
    }
    text +=
        health.waiting.empty()
            ? "Nothing waits to be put back.\n"
            : counted(health.waiting.size(), "record waits", "records wait") + " to be put back:\n";
    for (const WaitingRecord& record : health.waiting) {
        text += recordText(record, writer);
    }
    return text;
}

namespace {

json changesJSON(const std::vector<FactGroup>& changes) {
    json list = json::array();
    for (const FactGroup& group : changes) {
        json facts = json::array();
        for (const Fact& fact : group.facts) {
            facts.push_back({{"fact", fact.name}, {"now", fact.before}, {"then", fact.after}});
        }
        list.push_back({{"of", group.title}, {"facts", facts}});
    }
    return list;
}

template <typename T>
json orNull(const std::optional<T>& value) {
    return value ? json(*value) : json(nullptr);
}

}  // namespace

json healthJSON(const Health& health) {
    json result = {{"status", health.exitStatus()},
                   {"helper",
                    {{"state", stateOf(health)},
                     {"heartbeatAge", orNull(health.heartbeatAge)},
                     {"pid", orNull(health.helperPID)},
                     {"started", health.helperStart.empty() ? json() : json(health.helperStart)}}},
                   {"tolvaran", orNull(health.tolvaranPID)},
                   {"lacking", json::array()},
                   {"waiting", json::array()}};
    for (const LackingFunction& function : health.lacking) {
        result["lacking"].push_back({{"name", function.name}, {"cost", function.cost}});
    }
    for (const WaitingRecord& record : health.waiting) {
        result["waiting"].push_back({{"record", record.title},
                                     {"file", record.file},
                                     {"changes", changesJSON(record.changes)},
                                     {"reasons", record.reasons}});
    }
    return result;
}

}  // namespace tolvaran::describe
