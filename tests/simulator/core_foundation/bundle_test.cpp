#include <CoreFoundation/CoreFoundation.h>
#include <crt_externs.h>

#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Bundle : public SimulatorTest {};

std::string pathOf(CFBundleRef bundle) {
    const cf::Owned<CFURLRef> url(CFBundleCopyBundleURL(bundle));
    UInt8 buffer[1024];
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.get(), true, buffer, sizeof buffer));
    return reinterpret_cast<const char*>(buffer);
}

TEST_F(Bundle, PathsAreThoseThatWereSet) {
    setBundlePaths({"/Applications/A.app", "/tmp/B.xctest"});
    EXPECT_EQ(pathOf(CFBundleGetMainBundle()), "/Applications/A.app");
    const CFArrayRef all = CFBundleGetAllBundles();
    ASSERT_EQ(CFArrayGetCount(all), 2);
    EXPECT_EQ(CFArrayGetValueAtIndex(all, 0), CFBundleGetMainBundle());
    const auto second = static_cast<CFBundleRef>(const_cast<void*>(CFArrayGetValueAtIndex(all, 1)));
    EXPECT_EQ(pathOf(second), "/tmp/B.xctest");
    setBundlePaths({});
    EXPECT_EQ(CFBundleGetMainBundle(), nullptr);
    EXPECT_EQ(CFArrayGetCount(CFBundleGetAllBundles()), 0);
    EXPECT_EQ(pathOf(second), "/tmp/B.xctest") << "what was handed out stays valid";
}

TEST_F(Bundle, APathThatDoesNotFitIsRefused) {
    setBundlePaths({"/abc"});
    const cf::Owned<CFURLRef> url(CFBundleCopyBundleURL(CFBundleGetMainBundle()));
    UInt8 buffer[8];
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.get(), true, buffer, 4));
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.get(), true, buffer, 5));
}

TEST_F(Bundle, ArgumentsAreThoseThatWereSet) {
    setArguments({"program", "--flag", ""});
    ASSERT_EQ(*_NSGetArgc(), 3);
    EXPECT_STREQ((*_NSGetArgv())[1], "--flag");
    EXPECT_STREQ((*_NSGetArgv())[2], "");
    EXPECT_EQ((*_NSGetArgv())[3], nullptr);
    reset();
    EXPECT_EQ(*_NSGetArgc(), 1);
}

}  // namespace
}  // namespace tolvaran::tests
