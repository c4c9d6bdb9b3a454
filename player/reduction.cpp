#include "player/reduction.hpp"

#include <algorithm>
#include <exception>
#include <vector>

#include "player/player.hpp"
#include "report/chronicle.hpp"

namespace simulator {
namespace {

using nlohmann::json;
using Pointer = json::json_pointer;

/// Drops parts of a document while it still shows what is wanted.
class Reducer {
  public:
    Reducer(json document, const std::function<bool(const json&)>& shows)
        : document_(std::move(document)), shows_(shows) {}

    void reduce() {
        std::size_t before = 0;
        do {
            before = document_.dump().size();
            reduceBelow(Pointer());
        } while (document_.dump().size() < before);
    }

    Reduction result() { return {std::move(document_), plays_}; }

  private:
    /// Keeps the smaller document if it still shows what is wanted; whether it does.
    bool keepIfShown(json smaller) {
        ++plays_;
        if (!shows_(smaller)) {
            return false;
        }
        document_ = std::move(smaller);
        return true;
    }

    void reduceBelow(const Pointer& place) {
        if (document_[place].is_object()) {
            reduceObject(place);
        } else if (document_[place].is_array()) {
            reduceList(place);
        }
    }

    void reduceObject(const Pointer& place) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : document_[place].items()) {
            keys.push_back(key);
        }
        for (const std::string& key : keys) {
            json smaller = document_;
            smaller[place].erase(key);
            if (!keepIfShown(std::move(smaller))) {
                reduceBelow(place / key);
            }
        }
    }

    /// Drops half of the elements at a time, then a quarter, and so on: a display has hundreds of
    /// modes.
    void reduceList(const Pointer& place) {
        for (std::size_t count = (document_[place].size() + 1) / 2; count > 0; count /= 2) {
            for (std::size_t i = 0; i < document_[place].size();) {
                json smaller = document_;
                auto& list = smaller[place].get_ref<json::array_t&>();
                const auto first = list.begin() + static_cast<std::ptrdiff_t>(i);
                list.erase(first,
                           first + static_cast<std::ptrdiff_t>(std::min(count, list.size() - i)));
                i += keepIfShown(std::move(smaller)) ? 0 : count;
            }
        }
        for (std::size_t i = 0; i < document_[place].size(); ++i) {
            reduceBelow(place / i);
        }
    }

    json document_;
    const std::function<bool(const json&)>& shows_;
    std::size_t plays_ = 0;
};

Outcome played(const json& scenario) {
    return play(readScenario(scenario, "", ""), {.quiet = true});
}

}  // namespace

Reduction reduced(json scenario, const std::function<bool(const json&)>& shows) {
    Reducer reducer(std::move(scenario), shows);
    reducer.reduce();
    return reducer.result();
}

bool showsText(const json& scenario, const std::string& text) {
    try {
        const json result = played(scenario).result;
        const auto logsIt = [&](const json& line) {
            return (line["level"].get<std::string>() + ": " + line["message"].get<std::string>())
                       .find(text) != std::string::npos;
        };
        const auto callsIt = [&](const json& call) {
            return report::plainCallText(call).find(text) != std::string::npos;
        };
        return std::ranges::any_of(result["log"], logsIt) ||
               std::ranges::any_of(result["calls"], callsIt);
    } catch (const std::exception&) {
        return false;
    }
}

std::string firstFailure(const json& scenario) {
    try {
        const std::vector<std::string> failures = played(scenario).failures;
        return failures.empty() ? "" : failures.front().substr(0, failures.front().find(": "));
    } catch (const std::exception&) {
        return "";
    }
}

}  // namespace simulator
