#include "restore/support/dynamic_library.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/private_interfaces.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

class DynamicLibraryTest : public ProcessTest {};

constexpr RunTimeFunction<void()> noSuchFunction{"CGSNoSuchFunction"};

TEST_F(DynamicLibraryTest, FindsTheFunctionsOfALibrary) {
    const DynamicLibrary library(sky_light::path);
    ASSERT_TRUE(library.isOpen());
    CGSConnectionID (*const function)() = library.function(sky_light::mainConnection);
    ASSERT_NE(function, nullptr);
    EXPECT_NE(function(), 0);
    EXPECT_EQ(library.function(noSuchFunction), nullptr);
}

TEST_F(DynamicLibraryTest, HasNoFunctionsWhenItCannotBeOpened) {
    start({{"unavailable", {"SkyLight"}}});
    const DynamicLibrary library(sky_light::path);
    EXPECT_FALSE(library.isOpen());
    EXPECT_EQ(library.function(sky_light::mainConnection), nullptr);
    EXPECT_FALSE(DynamicLibrary("/no/such/library").isOpen());
}

TEST_F(DynamicLibraryTest, FindsTheFunctionsOfTheProcess) {
    EXPECT_NE(DynamicLibrary::functionOfProcess(hi_services::getCornerActions), nullptr);
    EXPECT_EQ(DynamicLibrary::functionOfProcess(noSuchFunction), nullptr);
}

TEST_F(DynamicLibraryTest, ClosesTheLibraryAtTheEnd) {
    void* const handle = ::dlopen(sky_light::path, RTLD_LAZY);
    {
        DynamicLibrary first(sky_light::path);
        const DynamicLibrary second = std::move(first);
    }
    EXPECT_EQ(::dlclose(handle), 0) << "it was closed only once";
    EXPECT_NE(::dlclose(handle), 0) << "and it is no longer open";
}

TEST_F(DynamicLibraryTest, KeepsItsFunctionsWhenMoved) {
    DynamicLibrary first(sky_light::path);
    const DynamicLibrary second = std::move(first);
    EXPECT_TRUE(second.isOpen());
    EXPECT_NE(second.function(sky_light::mainConnection), nullptr);
}

}  // namespace
}  // namespace tolvaran::tests
