#include "restore/support/io_object.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <type_traits>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

static_assert(!std::is_copy_constructible_v<IOObject>);

class IOObjectTest : public ProcessTest {
  protected:
    IOObjectTest() {
        start({{"registry", nlohmann::json::array({{{"a", 1}}, {{"b", 2}}})}});
        before_ = simulator::liveObjects();
    }

    static IOObject iterator() {
        io_iterator_t found = IO_OBJECT_NULL;
        IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching("IODisplayConnect"),
                                     &found);
        return IOObject::assume(found);
    }

    std::size_t held() const { return simulator::liveObjects() - before_; }

  private:
    std::size_t before_ = 0;
};

TEST_F(IOObjectTest, HoldsNothingAtFirst) {
    const IOObject none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), IO_OBJECT_NULL);
    EXPECT_FALSE(IOObject::assume(IO_OBJECT_NULL));
}

TEST_F(IOObjectTest, ReleasesAtTheEndOfItsLife) {
    {
        const IOObject object = iterator();
        EXPECT_TRUE(object);
        EXPECT_EQ(held(), 1U);
    }
    EXPECT_EQ(held(), 0U);
}

TEST_F(IOObjectTest, MovingHandsTheReferenceOver) {
    IOObject first = iterator();
    const io_object_t handle = first.get();
    {
        const IOObject second = std::move(first);
        EXPECT_EQ(second.get(), handle);
        EXPECT_EQ(held(), 1U);
    }
    EXPECT_EQ(held(), 0U);
}

TEST_F(IOObjectTest, AssigningReleasesWhatWasHeld) {
    IOObject first = iterator();
    IOObject second = iterator();
    const io_object_t handle = second.get();
    EXPECT_EQ(held(), 2U);
    first = std::move(second);
    EXPECT_EQ(first.get(), handle);
    EXPECT_EQ(held(), 1U);
    first = IOObject();
    EXPECT_EQ(held(), 0U);
}

}  // namespace
}  // namespace tolvaran::tests
