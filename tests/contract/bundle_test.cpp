// The main bundle, its path, and the loaded bundles.
#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <string>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using tolvaran::CFRef;

class Bundle : public Contract {};

std::string pathOf(CFBundleRef bundle) {
    const auto url = CFRef<CFURLRef>::assume(CFBundleCopyBundleURL(bundle));
    char path[1024] = {};
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.get(), true, reinterpret_cast<UInt8*>(path),
                                                 sizeof path));
    return path;
}

// Left open: the main bundle of a program outside any bundle. It is the program's directory.
TEST_F(Bundle, TheMainBundleHasAPath) {
    const CFBundleRef main = CFBundleGetMainBundle();
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(CFBundleGetMainBundle(), main);
    EXPECT_EQ(pathOf(main).substr(0, 1), "/");
}

// Documented: the list holds the bundles that the process has opened.
TEST_F(Bundle, TheMainBundleIsAmongTheLoadedOnes) {
    const CFArrayRef all = CFBundleGetAllBundles();
    ASSERT_NE(all, nullptr);
    std::vector<std::string> paths;
    for (CFIndex index = 0; index < CFArrayGetCount(all); ++index) {
        paths.push_back(pathOf(
            static_cast<CFBundleRef>(const_cast<void*>(CFArrayGetValueAtIndex(all, index)))));
    }
    EXPECT_GE(std::ranges::count(paths, pathOf(CFBundleGetMainBundle())), 1);
}

// Documented: false if the buffer is too small.
TEST_F(Bundle, APathThatDoesNotFitIsRefused) {
    const auto url = CFRef<CFURLRef>::assume(CFBundleCopyBundleURL(CFBundleGetMainBundle()));
    UInt8 small[1] = {};
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.get(), true, small, sizeof small));
}

}  // namespace
