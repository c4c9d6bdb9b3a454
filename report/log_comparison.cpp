#include "report/log_comparison.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "report/line_difference.hpp"
#include "report/log_reading.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

struct Stretch {
    std::size_t begin = 0;
    std::size_t end = 0;
};

std::string messageOf(const json& line) {
    return line["message"].get<std::string>();
}

/// The text without the digits after each "pid ".
std::string withoutProcessIDs(std::string text) {
    const std::string word = "pid ";
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
        at += word.size();
        const std::size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
        text.erase(at, end - at);
    }
    return text;
}

std::string withoutTag(const std::string& message) {
    const std::optional<StepLine> step = readStepLine(message);
    return step ? std::string(steps[step->step].name) + ": " + step->text : message;
}

std::vector<std::string> comparable(const json& log, const Stretch& stretch, bool isWhole) {
    std::vector<std::string> lines;
    for (std::size_t i = stretch.begin; i < stretch.end; ++i) {
        const std::string message = messageOf(log[i]);
        lines.push_back(log[i]["level"].get<std::string>() + ": " +
                        withoutProcessIDs(isWhole ? message : withoutTag(message)));
    }
    return lines;
}

Stretch sinceLastStart(const json& log) {
    std::size_t begin = log.size();
    while (begin > 0 && !messageOf(log[begin - 1]).starts_with("Helper starting")) {
        --begin;
    }
    return {begin > 0 ? begin - 1 : 0, log.size()};
}

bool endsRun(const json& line) {
    const std::optional<StepLine> step = readStepLine(messageOf(line));
    return step && step->endsRun();
}

/// The stretch without what the helper logs before its run.
Stretch withoutIntroduction(const json& log, Stretch stretch) {
    while (stretch.begin < stretch.end && isAboutProcesses(messageOf(log[stretch.begin]))) {
        ++stretch.begin;
    }
    return stretch;
}

Stretch firstRun(const json& log) {
    std::size_t end = 0;
    while (end < log.size() && !endsRun(log[end])) {
        ++end;
    }
    return withoutIntroduction(log, {0, std::min(end + 1, log.size())});
}

/// The last run, which may have been cut short.
Stretch lastRun(const json& log) {
    std::size_t end = log.size();
    while (end > 0 && isAboutProcesses(messageOf(log[end - 1]))) {
        --end;
    }
    std::size_t begin = end == 0 ? 0 : end - 1;
    while (begin > 0 && !endsRun(log[begin - 1])) {
        --begin;
    }
    return withoutIntroduction(log, {begin, end});
}

/// Builds the rows, with lines that differ beside each other.
class Rows {
  public:
    Rows(std::size_t theirs, std::size_t ours) : theirs_(theirs), ours_(ours) {}

    void take(LineFate fate) {
        if (fate == LineFate::kept) {
            rows_.push_back({theirs_++, ours_++, true});
            unpaired_ = rows_.size();
        } else if (fate == LineFate::removed) {
            rows_.push_back({theirs_++, {}, false});
        } else if (unpaired_ < rows_.size()) {
            rows_[unpaired_++].ours = ours_++;
        } else {
            rows_.push_back({{}, ours_++, false});
            unpaired_ = rows_.size();
        }
    }

    std::vector<ComparedLine> takeRows() { return std::move(rows_); }

  private:
    std::vector<ComparedLine> rows_;
    std::size_t unpaired_ = 0;  // the first row since the last common one that is free on the right
    std::size_t theirs_;        // the next lines
    std::size_t ours_;
};

std::vector<ComparedLine> rowsOf(const std::vector<DifferenceLine>& difference, std::size_t theirs,
                                 std::size_t ours) {
    Rows rows(theirs, ours);
    for (const DifferenceLine& line : difference) {
        rows.take(line.fate);
    }
    return rows.takeRows();
}

}  // namespace

LogComparison compareLogs(const json& result) {
    const json& theirs = result["scenario"]["log"];
    const json& ours = result["log"];
    LogComparison comparison;
    comparison.isWhole = !result["timeline"].empty();
    const bool isWhole = comparison.isWhole;
    const Stretch left = isWhole ? sinceLastStart(theirs) : lastRun(theirs);
    const Stretch right = isWhole ? Stretch{0, ours.size()} : firstRun(ours);
    comparison.theirsBegin = left.begin;
    comparison.oursBegin = right.begin;
    comparison.oursEnd = right.end;
    comparison.rows =
        rowsOf(lineDifference(comparable(theirs, left, isWhole), comparable(ours, right, isWhole)),
               left.begin, right.begin);
    const auto parting = std::ranges::find(comparison.rows, false, &ComparedLine::isCommon);
    if (parting != comparison.rows.end()) {
        comparison.parting = static_cast<std::size_t>(parting - comparison.rows.begin());
    }
    return comparison;
}

}  // namespace simulator::report
