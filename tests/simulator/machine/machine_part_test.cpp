#include "simulator/machine/machine_part.hpp"

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

struct Lamp {
    bool isOn = false;
    std::int64_t brightness = 3;
};

const MachinePart<Lamp> lamp(
    "lamp",
    [](const JsonReader& value, Lamp& state) {
        value.requireKeys({"isOn", "brightness"});
        readBoolean(value, "isOn", state.isOn);
        readInteger(value, "brightness", state.brightness);
    },
    [](const Lamp& state) {
        return json{{"isOn", state.isOn}, {"brightness", state.brightness}};
    });

class MachinePartTest : public SimulatorTest {};

TEST_F(MachinePartTest, HasItsInitialStateUnlessTold) {
    lamp.state().isOn = true;
    reset();
    EXPECT_EQ(machine()["lamp"], (json{{"isOn", false}, {"brightness", 3}}));
    reset({{"lamp", {{"brightness", 5}}}});
    EXPECT_EQ(machine()["lamp"], (json{{"isOn", false}, {"brightness", 5}}));
    EXPECT_EQ(lamp.state().brightness, 5);
}

TEST_F(MachinePartTest, IsWrittenAsItsDeviceChangesIt) {
    reset();
    lamp.state().isOn = true;
    EXPECT_EQ(machine()["lamp"]["isOn"], true);
}

TEST_F(MachinePartTest, KeepsWhatIsNotSet) {
    reset({{"lamp", {{"isOn", true}}}});
    simulator::set({{"lamp", {{"brightness", 7}}}});
    EXPECT_EQ(machine()["lamp"], (json{{"isOn", true}, {"brightness", 7}}));
}

TEST_F(MachinePartTest, IsReadStrictlyAndARefusedOneChangesNothing) {
    reset({{"lamp", {{"isOn", true}}}});
    EXPECT_EQ(thrownBy([] {
                  reset({{"lamp", {{"isOn", 1}}}});
              }),
              "lamp.isOn: must be true or false");
    EXPECT_EQ(thrownBy([] {
                  simulator::set({{"lamp", {{"colour", 1}}}});
              }),
              "lamp.colour: unknown key");
    EXPECT_EQ(machine()["lamp"], (json{{"isOn", true}, {"brightness", 3}}));
}

TEST_F(MachinePartTest, EveryDeviceHasItsOwn) {
    std::vector<std::string> keys;
    for (const PartFormat& format : partFormats()) {
        keys.push_back(format.key);
    }
    EXPECT_EQ(std::ranges::count(keys, "lamp"), 1);
    EXPECT_EQ(std::ranges::count(keys, "dock"), 1);
    EXPECT_EQ(std::ranges::count(keys, "cursorAssociated"), 1);
}

}  // namespace
}  // namespace tolvaran::tests
