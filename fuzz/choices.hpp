// Turns the bytes of a fuzz input into choices, so that a fuzzer that knows only bytes makes
// well-formed input. After the last byte, every choice is the first one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tolvaran::fuzz {

class Choices {
  public:
    explicit Choices(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool atEnd() const { return bytes_.empty(); }

    /// A number below `limit`, which is at most 256.
    std::size_t below(std::size_t limit) {
        if (bytes_.empty()) {
            return 0;
        }
        const std::size_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte % limit;
    }

    /// True for this many of 16 choices; false after the last byte.
    bool chance(std::size_t ofSixteen) { return below(16) >= 16 - ofSixteen; }

    /// One element of a list that is not empty.
    template <typename T>
    const T& of(const std::vector<T>& list) {
        return list[below(list.size())];
    }

    /// Some of the elements, in their order.
    template <typename T>
    std::vector<T> someOf(const std::vector<T>& list) {
        std::vector<T> some;
        for (const T& element : list) {
            if (chance(8)) {
                some.push_back(element);
            }
        }
        return some;
    }

  private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace tolvaran::fuzz
