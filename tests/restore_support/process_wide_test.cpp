#include "restore/support/process_wide.hpp"

#include <gtest/gtest.h>

namespace tolvaran {
namespace {

TEST(ProcessWide, IsMadeOnceUntilTheProcessEnds) {
    ProcessWide<int> value;
    int made = 0;
    const auto make = [&] { return ++made; };
    EXPECT_EQ(value.get(make), 1);
    EXPECT_EQ(value.get(make), 1);
    endProcess();
    EXPECT_EQ(value.get(make), 2);
    endProcess();
}

TEST(ProcessWide, EndsInReverseOrderOfCreation) {
    struct Entry {
        std::string name;
        std::vector<std::string>* ended;
        ~Entry() {
            if (ended != nullptr) {
                ended->push_back(name);
            }
        }
        Entry(std::string n, std::vector<std::string>* e) : name(std::move(n)), ended(e) {}
        Entry(Entry&& other) noexcept
            : name(other.name), ended(std::exchange(other.ended, nullptr)) {}
    };
    std::vector<std::string> ended;
    ProcessWide<Entry> first;
    ProcessWide<Entry> second;
    first.get([&] { return Entry("first", &ended); });
    second.get([&] { return Entry("second", &ended); });
    endProcess();
    EXPECT_EQ(ended, (std::vector<std::string>{"second", "first"}));
}

}  // namespace
}  // namespace tolvaran
