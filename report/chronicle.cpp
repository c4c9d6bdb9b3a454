#include "report/chronicle.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "report/log_reading.hpp"
#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

const std::map<std::string, std::string>& triggers() {
    static const std::map<std::string, std::string> all{
        {"cold-start", "the helper started and Tolvaran was not running"},
        {"safety-tick", "60 seconds had passed"},
        {"display-reconfig", "the displays were reconfigured"},
        {"proc-exit", "Tolvaran's process had ended"},
    };
    return all;
}

std::string triggerText(const std::string& tag) {
    const auto known = triggers().find(tag);
    return "Restore run “" + tag + "”" + (known == triggers().end() ? "" : ": " + known->second);
}

std::string eventText(const json& event) {
    for (const auto& [name, argument] : event.items()) {
        if (name != "at") {
            return name + " " + compact(argument);
        }
    }
    return "nothing";
}

constexpr std::size_t menuBarStep = 2;
constexpr std::size_t cornerStep = 3;

/// The step to which a call to the Mac belongs; none if its name and arguments do not say.
std::optional<std::size_t> stepOf(const json& call) {
    const auto name = call["call"].get<std::string>();
    const json& args = call["args"];
    for (std::size_t step = 0; step < steps.size(); ++step) {
        const auto begins = [&](std::string_view start) {
            return !start.empty() && name.starts_with(start);
        };
        if (std::ranges::any_of(steps.at(step).calls, begins)) {
            return step;
        }
    }
    if (name.starts_with("CFPreferences")) {
        const bool isDock = std::find(args.begin(), args.end(), "com.apple.dock") != args.end();
        return isDock ? cornerStep : menuBarStep;
    }
    if (name == "CFNotificationCenterPostNotification") {
        return args[0].get<std::string>().starts_with("Apple") ? menuBarStep : cornerStep;
    }
    return std::nullopt;
}

/// Builds the entries event by event. The calls and lines of a restore run come step by step, so
/// one that belongs to an earlier step, or anything after the line that ends the last step, begins
/// another run.
class Chronicler {
  public:
    explicit Chronicler(const json& result) : result_(result) {}

    void takeEvent() {
        const json& event = result_["timeline"][events_++];
        add(event["at"], Happening::event, eventText(event));
    }

    void takeCall() {
        const json& call = result_["calls"][calls_];
        enter(stepOfCall(), call["at"]);
        add(call["at"], Happening::call, callText(call));
        ++calls_;
    }

    void takeLine() {
        const json& line = result_["log"][lines_];
        const auto message = line["message"].get<std::string>();
        if (const std::optional<StepLine> read = readStepLine(message)) {
            takeStepLine(line["at"], *read);
        } else if (message.starts_with("PROC_EXIT fired")) {
            add(line["at"], Happening::trigger, message).logIndex = lines_;
        }
        ++lines_;
    }

    std::vector<Entry> takeEntries() { return std::move(entries_); }

  private:
    /// A run in progress: the indices of its entry and of its present step.
    struct Run {
        std::size_t entry = 0;
        std::optional<std::string> tag;
        std::size_t step = 0;
        std::size_t stepEntry = 0;
    };

    Entry& add(double at, Happening kind, std::string what) {
        entries_.push_back({.at = at, .kind = kind, .what = std::move(what)});
        return entries_.back();
    }

    /// The step of the next call. A call that begins a configuration belongs to the step of what is
    /// configured; one that ends it, to the present step.
    std::size_t stepOfCall() const {
        const json& calls = result_["calls"];
        for (std::size_t i = calls_; i < calls.size(); ++i) {
            if (const std::optional<std::size_t> step = stepOf(calls[i])) {
                return *step;
            }
            if (calls[i]["call"] != "CGBeginDisplayConfiguration") {
                break;
            }
        }
        return run_ ? run_->step : 0;
    }

    void enter(std::size_t step, double at) {
        if (run_ && run_->step == step) {
            return;
        }
        if (!run_ || step < run_->step) {
            add(at, Happening::trigger, "Restore run");
            run_ = Run{.entry = entries_.size() - 1, .tag = {}};
        }
        add(at, Happening::step, steps[step].title);
        run_->step = step;
        run_->stepEntry = entries_.size() - 1;
    }

    void takeStepLine(double at, const StepLine& line) {
        if (run_ && run_->tag && *run_->tag != line.tag) {
            run_.reset();
        }
        enter(line.step, at);
        Entry& step = entries_[run_->stepEntry];
        step.details.push_back(line.text);
        step.logIndex = step.logIndex.value_or(lines_);
        if (!run_->tag) {
            run_->tag = line.tag;
            entries_[run_->entry].what = triggerText(line.tag);
            entries_[run_->entry].logIndex = lines_;
        }
        if (line.endsRun()) {
            run_.reset();
        }
    }

    const json& result_;
    std::vector<Entry> entries_;
    std::optional<Run> run_;
    std::size_t events_ = 0;
    std::size_t lines_ = 0;
    std::size_t calls_ = 0;
};

std::string callText(const json& call, const std::string& arrow) {
    return call["call"].get<std::string>() + "(" + compactList(call["args"]) + ")" +
           (call["result"].is_null() ? "" : arrow + compact(call["result"]));
}

}  // namespace

const char* nameOf(Happening kind) {
    constexpr std::array<const char*, 4> names{"event", "trigger", "step", "call"};
    return names[static_cast<std::size_t>(kind)];
}

std::vector<Entry> chronicleOf(const json& result) {
    Chronicler chronicler(result);
    for (const json& word : result["order"]) {
        if (word == "event") {
            chronicler.takeEvent();
        } else if (word == "call") {
            chronicler.takeCall();
        } else {
            chronicler.takeLine();
        }
    }
    return chronicler.takeEntries();
}

std::string callText(const json& call) {
    return callText(call, " → ");
}

std::string plainCallText(const json& call) {
    return callText(call, " -> ");
}

}  // namespace simulator::report
