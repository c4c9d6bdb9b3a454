#include "restore/menubar/menu_bar_candidates.hpp"

#include <gtest/gtest.h>

namespace tolvaran::tests {
namespace {

TEST(MenuBarCandidates, HaveTheNamesOfTheirDisplays) {
    const std::vector<NamedDisplay> displays{{.displayID = 3,
                                              .fingerprintID = "HW-10-20-4",
                                              .portUUID = "port3",
                                              .uuid = "uuid3",
                                              .canonicalID = "main"},
                                             {.displayID = 1, .portUUID = "port1"}};
    const std::vector<MenuBarRestoreCandidate> expected{{.displayID = 3,
                                                         .aliasID = "uuid3",
                                                         .canonicalID = "main",
                                                         .fingerprintID = "HW-10-20-4",
                                                         .portUUID = "port3"},
                                                        {.displayID = 1,
                                                         .aliasID = "",
                                                         .canonicalID = "",
                                                         .fingerprintID = std::nullopt,
                                                         .portUUID = "port1"}};
    EXPECT_EQ(menuBarCandidates(displays), expected);
    EXPECT_TRUE(menuBarCandidates({}).empty());
}

}  // namespace
}  // namespace tolvaran::tests
