#include "restore/support/process_wide.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tolvaran::tests {
namespace {

TEST(ProcessWide, IsCreatedOnceUntilTheProcessEnds) {
    ProcessWide<int> value;
    int created = 0;
    const auto create = [&] { return ++created; };
    EXPECT_EQ(value.get(create), 1);
    EXPECT_EQ(value.get(create), 1);
    forgetProcessWideValues();
    EXPECT_EQ(value.get(create), 2);
    forgetProcessWideValues();
}

TEST(ProcessWide, IsCreatedOnceForThreadsThatAskAtTheSameTime) {
    ProcessWide<int> value;
    std::atomic<int> created = 0;
    const auto create = [&] {
        const int number = ++created;
        // Waits until another thread creates it too, or would have long since.
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
        while (created == 1 && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return number;
    };
    for (int life = 0; life < 2; ++life) {
        created = 0;
        int other = 0;
        std::thread thread([&] { other = value.get(create); });
        const int own = value.get(create);
        thread.join();
        EXPECT_EQ(created, 1);
        EXPECT_EQ(own, 1);
        EXPECT_EQ(other, 1);
        forgetProcessWideValues();
    }
}

TEST(ProcessWide, EndsTheValuesOfSeveralThreads) {
    constexpr int threadCount = 4;
    constexpr int valuesOfEach = 20000;
    int ended = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&] {
            for (int value = 0; value < valuesOfEach; ++value) {
                whenForgotten([&ended] { ++ended; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    forgetProcessWideValues();
    EXPECT_EQ(ended, threadCount * valuesOfEach);
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
    forgetProcessWideValues();
    EXPECT_EQ(ended, (std::vector<std::string>{"second", "first"}));
}

TEST(ProcessWide, BelongsToOneProcess) {
    ProcessWide<std::string> value;
    value.get() = "first";
    {
        const PlayedProcess second(1);
        EXPECT_EQ(value.get(), "");
        value.get() = "second";
        std::thread([&] { EXPECT_EQ(value.get(), "first"); }).join();
    }
    EXPECT_EQ(value.get(), "first");
    forgetProcessWideValues();
    EXPECT_EQ(value.get(), "");
    forgetProcessWideValues();  // the value does not outlive the test
    const PlayedProcess second(1);
    EXPECT_EQ(value.get(), "second");
    forgetProcessWideValues();
    EXPECT_EQ(value.get(), "");
    forgetProcessWideValues();
}

}  // namespace
}  // namespace tolvaran::tests
