#include "player/gallery.hpp"

#include <filesystem>
#include <sstream>

#include "player/scenario.hpp"
#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

using testing::HasSubstr;

class Gallery : public SimulatorTest {
  protected:
    struct Run {
        int status;
        std::string errors;
    };

    Run run(const std::vector<std::string>& arguments) {
        std::ostringstream errors;
        const int status = runGallery(arguments, errors);
        return {status, errors.str()};
    }

    Gallery() {
        writeFile(directory_ / "dock-a.json",
                  R"({"name": "Put back & <done>", "mac": {"dock": {"autoHide": true}},
                      "files": {"State/dock-autohide-pending.json":
                                {"version": 1, "restoreTo": false}}})");
        writeFile(directory_ / "zebra.json", R"({"name": "nothing"})");
        writeFile(directory_ / "start-a.json", "{}");
    }

    TemporaryDirectory directory_;
};

TEST_F(Gallery, HasALineForEachScenarioAndAPictureOfEachThatShowsAChange) {
    const auto gallery = galleryOf(directory_.path());
    ASSERT_EQ(gallery.size(), 2U);
    const std::string& page = gallery.at("README.md");
    EXPECT_THAT(page, HasSubstr("\n## The helper starts, and what sets it off\n\n"
                                "[start-a](start-a.json): start-a.json\\\n"
                                "Nothing changes\n"
                                "\n## The Dock\n\n"
                                "[dock-a](dock-a.json): Put back \\& \\<done\\>\\\n"
                                "![Changed: Dock, 1 file removed](pictures/dock-a.svg)\n"
                                "\n## More\n\n"
                                "[zebra](zebra.json): nothing\\\n"
                                "Nothing changes\n"));
    const std::string& picture = gallery.at("pictures/dock-a.svg");
    EXPECT_THAT(picture, HasSubstr("<title>Put back &amp; &lt;done&gt;</title>"));
    EXPECT_EQ(picture.find("class=\"bar hides\""), picture.rfind("class=\"bar hides\""))
        << "the Dock hides itself on one side only";
    EXPECT_EQ(galleryOf(directory_.path()), gallery);
}

TEST_F(Gallery, IsWrittenAndThenCurrent) {
    EXPECT_EQ(run({"--check", directory_.path()}).status, 1) << "there is none yet";
    EXPECT_EQ(run({directory_.path()}).status, 0);
    EXPECT_EQ(run({"--check", directory_.path()}).errors, "");
    EXPECT_EQ(run({"--check", directory_.path()}).status, 0);
}

TEST_F(Gallery, TheCheckFindsWhatIsNotCurrent) {
    const std::string advice = "; `make gallery` fixes it\n";
    run({directory_.path()});
    writeFile(directory_ / "pictures/dock-a.svg", "another");
    writeFile(directory_ / "pictures/gone.svg", "left over");
    writeFile(directory_ / "pictures/start-a.svg", "shows no change");
    const Run found = run({"--check", directory_.path()});
    EXPECT_EQ(found.status, 1);
    EXPECT_EQ(found.errors, directory_ / "pictures/dock-a.svg: is not current" + advice +
                                std::string(directory_ / "pictures/gone.svg") + ": is not needed" +
                                advice + std::string(directory_ / "pictures/start-a.svg") +
                                ": is not needed" + advice);
    EXPECT_EQ(readFile(directory_ / "pictures/dock-a.svg"), "another") << "the check only reads";
    run({directory_.path()});
    EXPECT_EQ(run({"--check", directory_.path()}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(std::string(directory_ / "pictures/gone.svg")));
}

TEST_F(Gallery, RefusesWhatItCannotDraw) {
    EXPECT_EQ(run({}).status, 2);
    EXPECT_EQ(run({"--check"}).status, 2);
    EXPECT_THAT(run({directory_ / "missing"}).errors, testing::StartsWith("usage: "));
    writeFile(directory_ / "broken.json", "{");
    const Run broken = run({directory_.path()});
    EXPECT_EQ(broken.status, 2);
    EXPECT_THAT(broken.errors, testing::StartsWith(directory_ / "broken.json: "));
}

TEST_F(Gallery, SaysWhatItCannotWrite) {
    writeFile(directory_ / "README.md/file", "in the way");
    const Run found = run({directory_.path()});
    EXPECT_EQ(found.status, 1);
    EXPECT_EQ(found.errors, directory_ / "README.md: cannot be written\n");
}

}  // namespace
}  // namespace tolvaran::tests
