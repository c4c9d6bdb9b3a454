#include "simulator/host/dynamic_library.hpp"

#include <dlfcn.h>

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

constexpr const char* skyLight =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";
constexpr const char* hiServices =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/"
    "HIServices.framework/HIServices";

int answer() {
    return 42;
}

class DynamicLibrary : public SimulatorTest {
  protected:
    DynamicLibrary() {
        registerSymbol("SkyLight", "TestSkyLightAnswer", reinterpret_cast<void*>(answer));
        registerSymbol("HIServices", "TestHIServicesAnswer", reinterpret_cast<void*>(answer));
    }
};

TEST_F(DynamicLibrary, FindsWhatIsOffered) {
    void* const library = dlopen(skyLight, RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    void* const symbol = dlsym(library, "TestSkyLightAnswer");
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(symbol)(), 42);
    EXPECT_EQ(dlsym(library, "TestHIServicesAnswer"), nullptr);
    EXPECT_EQ(dlsym(library, "NoSuchSymbol"), nullptr);
    EXPECT_EQ(dlclose(library), 0);
    EXPECT_EQ(dlsym(library, "TestSkyLightAnswer"), nullptr) << "the handle was closed";
    EXPECT_EQ(dlclose(library), -1);
}

TEST_F(DynamicLibrary, ClosingCanFail) {
    void* const library = dlopen(skyLight, RTLD_LAZY);
    addFault({{"call", "dlclose"}, {"result", -1}, {"times", 1}});
    EXPECT_EQ(dlclose(library), -1);
    EXPECT_EQ(dlclose(library), 0);
}

TEST_F(DynamicLibrary, OnlyHIServicesIsInTheGlobalScope) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, "TestHIServicesAnswer"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TestSkyLightAnswer"), nullptr);
}

TEST_F(DynamicLibrary, WhatTheMacLacksIsNotFound) {
    set({{"unavailable", {"TestSkyLightAnswer", "HIServices"}}});
    void* const library = dlopen(skyLight, RTLD_LAZY);
    EXPECT_NE(library, nullptr);
    EXPECT_EQ(dlsym(library, "TestSkyLightAnswer"), nullptr);
    EXPECT_EQ(dlopen(hiServices, RTLD_LAZY), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TestHIServicesAnswer"), nullptr);
    set({{"unavailable", {"SkyLight", "TestHIServicesAnswer"}}});
    EXPECT_EQ(dlopen(skyLight, RTLD_LAZY), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TestHIServicesAnswer"), nullptr);
    dlclose(library);
}

TEST_F(DynamicLibrary, AFaultOnOpeningLeavesTheGlobalScope) {
    addFault({{"call", "dlopen"}, {"result", nullptr}});
    EXPECT_EQ(dlopen(hiServices, RTLD_LAZY), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "TestHIServicesAnswer"), nullptr);
}

TEST_F(DynamicLibrary, EverythingElseIsTheHosts) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, "strlen"), nullptr);
    EXPECT_EQ(dlopen("/no/such/library.so", RTLD_LAZY), nullptr);
    void* const program = dlopen(nullptr, RTLD_LAZY);
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(dlclose(program), 0);
}

}  // namespace
}  // namespace tolvaran::tests
