#include "report/line_difference.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace simulator::report {
namespace {

using Lines = std::vector<std::string>;
using Difference = std::vector<DifferenceLine>;

constexpr std::size_t mostCells = 4'000'000;  // of the table below

struct Part {
    Lines::const_iterator begin;
    Lines::const_iterator end;

    std::size_t size() const { return static_cast<std::size_t>(end - begin); }
    const std::string& operator[](std::size_t i) const {
        return begin[static_cast<std::ptrdiff_t>(i)];
    }
};

/// How many lines the rests of two texts have in common, in order, from any line of each on.
class CommonLines {
  public:
    CommonLines(const Part& a, const Part& b)
        : width_(b.size() + 1), counts_((a.size() + 1) * width_, 0) {
        for (std::size_t i = a.size(); i-- > 0;) {
            for (std::size_t j = b.size(); j-- > 0;) {
                counts_[i * width_ + j] = a[i] == b[j] ? from(i + 1, j + 1) + 1
                                                       : std::max(from(i + 1, j), from(i, j + 1));
            }
        }
    }
    std::uint32_t from(std::size_t i, std::size_t j) const { return counts_[i * width_ + j]; }

  private:
    std::size_t width_;
    std::vector<std::uint32_t> counts_;
};

void add(Difference& difference, LineFate fate, const Part& part) {
    std::for_each(part.begin, part.end, [&](const std::string& line) {
        difference.push_back({fate, line});
    });
}

void addDifferent(Difference& difference, const Part& a, const Part& b) {
    if ((a.size() + 1) * (b.size() + 1) > mostCells) {
        add(difference, LineFate::removed, a);
        add(difference, LineFate::added, b);
        return;
    }
    const CommonLines common(a, b);
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() || j < b.size()) {
        if (i < a.size() && j < b.size() && a[i] == b[j]) {
            difference.push_back({LineFate::kept, a[i++]});
            ++j;
        } else if (j == b.size() ||
                   (i < a.size() && common.from(i + 1, j) >= common.from(i, j + 1))) {
            difference.push_back({LineFate::removed, a[i++]});
        } else {
            difference.push_back({LineFate::added, b[j++]});
        }
    }
}

}  // namespace

Difference lineDifference(const Lines& before, const Lines& after) {
    const auto [a, b] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    const auto [reverseA, reverseB] = std::mismatch(before.rbegin(), std::make_reverse_iterator(a),
                                                    after.rbegin(), std::make_reverse_iterator(b));
    Difference difference;
    add(difference, LineFate::kept, {before.begin(), a});
    addDifferent(difference, {a, reverseA.base()}, {b, reverseB.base()});
    add(difference, LineFate::kept, {reverseA.base(), before.end()});
    return difference;
}

}  // namespace simulator::report
