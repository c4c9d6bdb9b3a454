#include "restore/support/dynamic_library.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/private_interfaces.hpp"
#include "simulator/simulator.hpp"

namespace tolvaran {
namespace {

constexpr RunTimeFunction<void()> noSuchFunction{"CGSNoSuchFunction"};

TEST(DynamicLibrary, FindsTheFunctionsOfALibrary) {
    simulator::reset();
    const DynamicLibrary library(sky_light::path);
    ASSERT_TRUE(library.isOpen());
    CGSConnectionID (*const function)() = library.function(sky_light::mainConnection);
    ASSERT_NE(function, nullptr);
    EXPECT_NE(function(), 0);
    EXPECT_EQ(library.function(noSuchFunction), nullptr);
}

TEST(DynamicLibrary, HasNoFunctionsWhenItCannotBeOpened) {
    simulator::reset({{"unavailable", {"SkyLight"}}});
    const DynamicLibrary library(sky_light::path);
    EXPECT_FALSE(library.isOpen());
    EXPECT_EQ(library.function(sky_light::mainConnection), nullptr);
    EXPECT_FALSE(DynamicLibrary("/no/such/library").isOpen());
}

TEST(DynamicLibrary, FindsTheFunctionsOfTheProcess) {
    simulator::reset();
    EXPECT_NE(DynamicLibrary::functionOfProcess(hi_services::getCornerActions), nullptr);
    EXPECT_EQ(DynamicLibrary::functionOfProcess(noSuchFunction), nullptr);
}

TEST(DynamicLibrary, ClosesTheLibraryInTheEnd) {
    simulator::reset();
    void* const handle = ::dlopen(sky_light::path, RTLD_LAZY);
    {
        DynamicLibrary first(sky_light::path);
        const DynamicLibrary second = std::move(first);
    }
    EXPECT_EQ(::dlclose(handle), 0) << "it was closed only once";
    EXPECT_NE(::dlclose(handle), 0) << "and nobody has it open any more";
}

TEST(DynamicLibrary, MovesAlongWithItsFunctions) {
    simulator::reset();
    DynamicLibrary first(sky_light::path);
    const DynamicLibrary second = std::move(first);
    EXPECT_TRUE(second.isOpen());
    EXPECT_NE(second.function(sky_light::mainConnection), nullptr);
}

}  // namespace
}  // namespace tolvaran
