#include "restore/support/dynamic_library.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

#include "simulator/simulator.hpp"

namespace tolvaran {
namespace {

const char* const skyLight =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";
using Connection = std::int32_t();

TEST(DynamicLibrary, FindsTheFunctionsOfALibrary) {
    simulator::reset();
    const DynamicLibrary library(skyLight);
    ASSERT_TRUE(library.isOpen());
    Connection* const function = library.function<Connection>("CGSMainConnectionID");
    ASSERT_NE(function, nullptr);
    EXPECT_NE(function(), 0);
    EXPECT_EQ(library.function<Connection>("CGSNoSuchFunction"), nullptr);
}

TEST(DynamicLibrary, HasNoFunctionsWhenItCannotBeOpened) {
    simulator::reset({{"unavailable", {"SkyLight"}}});
    const DynamicLibrary library(skyLight);
    EXPECT_FALSE(library.isOpen());
    EXPECT_EQ(library.function<Connection>("CGSMainConnectionID"), nullptr);
    EXPECT_FALSE(DynamicLibrary("/no/such/library").isOpen());
}

TEST(DynamicLibrary, FindsTheFunctionsOfTheProcess) {
    simulator::reset();
    using Getter = void(std::int32_t*, std::int32_t*);
    EXPECT_NE(
        DynamicLibrary::functionOfProcess<Getter>("CoreDockGetExposeCornerActionsWithModifiers"),
        nullptr);
    EXPECT_EQ(DynamicLibrary::functionOfProcess<Getter>("CoreDockNoSuchFunction"), nullptr);
}

TEST(DynamicLibrary, ClosesTheLibraryInTheEnd) {
    simulator::reset();
    void* const handle = ::dlopen(skyLight, RTLD_LAZY);
    {
        DynamicLibrary first(skyLight);
        const DynamicLibrary second = std::move(first);
    }
    EXPECT_EQ(::dlclose(handle), 0) << "it was closed only once";
    EXPECT_NE(::dlclose(handle), 0) << "and nobody has it open any more";
}

TEST(DynamicLibrary, MovesAlongWithItsFunctions) {
    simulator::reset();
    DynamicLibrary first(skyLight);
    const DynamicLibrary second = std::move(first);
    EXPECT_TRUE(second.isOpen());
    EXPECT_NE(second.function<Connection>("CGSMainConnectionID"), nullptr);
}

}  // namespace
}  // namespace tolvaran
