#include "restore/arrangement/zigzag.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>

#include "restore/paths/restore_log.hpp"

namespace tolvaran::Zigzag {
namespace {

constexpr double touchTolerance = 1.0;  // points

/// What a frame covers in one direction.
struct Span {
    double min;
    double max;
};

/// What a display's frame covers.
struct Extent {
    Span x;
    Span y;
};

Extent extent(const DisplayFrame& display) {
    const CGRect& frame = display.frame;
    return {.x = {.min = CGRectGetMinX(frame), .max = CGRectGetMaxX(frame)},
            .y = {.min = CGRectGetMinY(frame), .max = CGRectGetMaxY(frame)}};
}

/// Whether an end of one lies on the opposite end of the other.
bool touch(const Span& a, const Span& b) {
    return std::abs(a.max - b.min) <= touchTolerance || std::abs(b.max - a.min) <= touchTolerance;
}

/// The length that both cover, negative if they are apart; NaN if any end is NaN.
double overlap(const Span& a, const Span& b) {
    // std::min and std::max keep or drop a NaN depending on which argument it is, which would let
    // the order of the displays decide.
    for (const double end : {a.min, a.max, b.min, b.max}) {
        if (std::isnan(end)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
    }
    return std::min(a.max, b.max) - std::max(a.min, b.min);
}

enum class Contact { none, corner, side };

Contact contact(const Extent& a, const Extent& b) {
    const bool touchX = touch(a.x, b.x);
    const bool touchY = touch(a.y, b.y);
    if (!touchX && !touchY) {
        return Contact::none;
    }
    const double overlapX = overlap(a.x, b.x);
    const double overlapY = overlap(a.y, b.y);
    if ((touchX && overlapY > touchTolerance) || (touchY && overlapX > touchTolerance)) {
        return Contact::side;
    }
    // Not just the other case: a NaN is neither above nor within the tolerance.
    const bool corner =
        touchX && touchY && overlapX <= touchTolerance && overlapY <= touchTolerance;
    return corner ? Contact::corner : Contact::none;
}

/// Which displays of a list share a side, by their indices.
class Sides {
  public:
    explicit Sides(std::size_t displays)
        : wordsPerDisplay_((displays + bitsPerWord - 1) / bitsPerWord),
          words_(displays * wordsPerDisplay_) {}

    void insert(std::size_t a, std::size_t b) {
        words_[a * wordsPerDisplay_ + b / bitsPerWord] |= std::uint64_t{1} << (b % bitsPerWord);
        words_[b * wordsPerDisplay_ + a / bitsPerWord] |= std::uint64_t{1} << (a % bitsPerWord);
    }
    /// Whether a third display shares a side with both.
    bool joins(std::size_t a, std::size_t b) const {
        for (std::size_t i = 0; i < wordsPerDisplay_; ++i) {
            if ((words_[a * wordsPerDisplay_ + i] & words_[b * wordsPerDisplay_ + i]) != 0) {
                return true;
            }
        }
        return false;
    }

  private:
    static constexpr std::size_t bitsPerWord = 64;
    std::size_t wordsPerDisplay_;
    std::vector<std::uint64_t> words_;
};

/// How the displays of a layout touch.
struct Contacts {
    Sides sides;
    std::vector<std::pair<std::size_t, std::size_t>> corners = {};  // the pairs, in list order
    bool anySide = false;
};

/// Looks at each pair once: a damaged file may hold thousands of layouts.
Contacts contacts(const std::vector<DisplayFrame>& displays) {
    std::vector<Extent> extents;
    extents.reserve(displays.size());
    std::ranges::transform(displays, std::back_inserter(extents), extent);
    Contacts found{.sides = Sides(displays.size())};
    for (std::size_t i = 0; i < displays.size(); ++i) {
        for (std::size_t j = i + 1; j < displays.size(); ++j) {
            const Contact between = contact(extents[i], extents[j]);
            if (between == Contact::side) {
                found.sides.insert(i, j);
                found.anySide = true;
            } else if (between == Contact::corner) {
                found.corners.emplace_back(i, j);
            }
        }
    }
    return found;
}

using Neighbours = std::vector<std::vector<std::size_t>>;

/// For each of `count` displays, those that touch it at a corner.
Neighbours cornerNeighbours(const Contacts& found, std::size_t count) {
    Neighbours neighbours(count);
    for (const auto& [i, j] : found.corners) {
        neighbours[i].push_back(j);
        neighbours[j].push_back(i);
    }
    return neighbours;
}

/// Whether every display can be reached from the first one.
bool isConnected(const Neighbours& neighbours) {
    std::vector<bool> visited(neighbours.size(), false);
    std::vector<std::size_t> stack{0};
    visited[0] = true;
    while (!stack.empty()) {
        const std::size_t current = stack.back();
        stack.pop_back();
        for (const std::size_t neighbour : neighbours[current]) {
            if (!visited[neighbour]) {
                visited[neighbour] = true;
                stack.push_back(neighbour);
            }
        }
    }
    return std::find(visited.begin(), visited.end(), false) == visited.end();
}

}  // namespace

bool isZigzag(const std::vector<DisplayFrame>& displays) {
    const Contacts found = contacts(displays);
    const auto isBridged = [&](const auto& corner) {
        return found.sides.joins(corner.first, corner.second);
    };
    if (std::ranges::all_of(found.corners, isBridged)) {
        return false;
    }
    RestoreLog::info("Detected zigzag/corner-touch arrangement");
    return true;
}

bool isFullZigzag(const std::vector<DisplayFrame>& displays) {
    if (displays.size() < 2) {
        return false;
    }
    const Contacts found = contacts(displays);
    return !found.anySide && isConnected(cornerNeighbours(found, displays.size()));
}

std::string signature(std::vector<std::string> canonicalIDs) {
    std::ranges::sort(canonicalIDs);
    std::string result;
    const char* separator = "";
    for (const std::string& id : canonicalIDs) {
        result += separator + id;
        separator = ",";
    }
    return result;
}

}  // namespace tolvaran::Zigzag
