#include <IOKit/IOKitLib.h>

#include <vector>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

using simulator::cf::Owned;

class IORegistry : public DeviceTest {
  protected:
    void SetUp() override { simulator::reset({{"registry", services_}}); }

    static io_iterator_t matching(const char* className) {
        io_iterator_t iterator = IO_OBJECT_NULL;
        EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching(className),
                                               &iterator),
                  KERN_SUCCESS);
        return iterator;
    }

    static nlohmann::json propertiesOf(io_service_t service) {
        CFMutableDictionaryRef properties = nullptr;
        EXPECT_EQ(IORegistryEntryCreateCFProperties(service, &properties, kCFAllocatorDefault, 0),
                  KERN_SUCCESS);
        const Owned<CFDictionaryRef> owned(properties);
        return simulator::cf::toJson(properties);
    }

    const nlohmann::json services_ = {
        {{"DisplayVendorID", 1552}, {"DisplayProductID", 41234}, {"DisplaySerialString", "S1"}},
        {{"DisplayVendorID", "text"}, {"Nested", {{"flag", true}, {"list", {1, 2.5}}}}},
        nlohmann::json::object(),
    };
};

TEST_F(IORegistry, GivesTheServicesInOrderAndThenNone) {
    const io_iterator_t iterator = matching("IODisplayConnect");
    for (const nlohmann::json& expected : services_) {
        const io_service_t service = IOIteratorNext(iterator);
        ASSERT_NE(service, IO_OBJECT_NULL);
        EXPECT_EQ(propertiesOf(service), expected);
        EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
    }
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
}

TEST_F(IORegistry, FindsNothingOfAnotherClass) {
    const io_iterator_t iterator = matching("IOFramebuffer");
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    IOObjectRelease(iterator);
}

TEST_F(IORegistry, MatchingDictionaryNamesTheClass) {
    const Owned<CFMutableDictionaryRef> dictionary(IOServiceMatching("IODisplayConnect"));
    EXPECT_EQ(simulator::cf::toJson(dictionary.get()),
              nlohmann::json({{"IOProviderClass", "IODisplayConnect"}}));
    EXPECT_EQ(IOServiceMatching(nullptr), nullptr);
}

TEST_F(IORegistry, ConsumesTheMatchingDictionary) {
    CFMutableDictionaryRef dictionary = IOServiceMatching("IODisplayConnect");
    CFRetain(dictionary);
    io_iterator_t iterator = IO_OBJECT_NULL;
    IOServiceGetMatchingServices(kIOMainPortDefault, dictionary, &iterator);
    EXPECT_EQ(CFGetRetainCount(dictionary), 1);
    IOObjectRelease(iterator);

    CFRetain(dictionary);
    simulator::addFault({{"call", "IOServiceGetMatchingServices"}, {"result", 5}});
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, dictionary, &iterator),
              KERN_FAILURE);
    EXPECT_EQ(CFGetRetainCount(dictionary), 1);
    CFRelease(dictionary);
}

TEST_F(IORegistry, HandlesCountAsLiveUntilTheyAreReleased) {
    const std::size_t before = simulator::liveObjects();
    const io_iterator_t iterator = matching("IODisplayConnect");
    EXPECT_EQ(simulator::liveObjects(), before + 1);
    const io_service_t service = IOIteratorNext(iterator);
    EXPECT_EQ(simulator::liveObjects(), before + 2);
    IOObjectRelease(iterator);
    EXPECT_EQ(simulator::liveObjects(), before + 1);
    EXPECT_EQ(propertiesOf(service), services_[0]);
    IOObjectRelease(service);
    EXPECT_EQ(simulator::liveObjects(), before);
}

TEST_F(IORegistry, RefusesInvalidHandles) {
    const io_iterator_t iterator = matching("IODisplayConnect");
    const io_service_t service = IOIteratorNext(iterator);
    CFMutableDictionaryRef properties = nullptr;
    EXPECT_EQ(IOIteratorNext(service), IO_OBJECT_NULL);
    EXPECT_EQ(IORegistryEntryCreateCFProperties(iterator, &properties, nullptr, 0),
              KERN_INVALID_ARGUMENT);
    IOObjectRelease(service);
    IOObjectRelease(iterator);
    EXPECT_EQ(IOObjectRelease(iterator), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(IOObjectRelease(IO_OBJECT_NULL), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    EXPECT_EQ(IORegistryEntryCreateCFProperties(service, &properties, nullptr, 0),
              KERN_INVALID_ARGUMENT);
    EXPECT_EQ(properties, nullptr);
}

TEST_F(IORegistry, RefusesInvalidArguments) {
    io_iterator_t iterator = 77;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, nullptr, &iterator),
              KERN_INVALID_ARGUMENT);
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault + 1,
                                           IOServiceMatching("IODisplayConnect"), &iterator),
              KERN_INVALID_ARGUMENT);
    EXPECT_EQ(iterator, 77U);
}

TEST_F(IORegistry, RefusesOptionsThatAreNotDefined) {
    const io_iterator_t iterator = matching("IODisplayConnect");
    const io_service_t service = IOIteratorNext(iterator);
    CFMutableDictionaryRef properties = nullptr;
    EXPECT_EQ(IORegistryEntryCreateCFProperties(service, &properties, kCFAllocatorDefault, 1),
              KERN_INVALID_ARGUMENT);
    EXPECT_EQ(properties, nullptr);
    IOObjectRelease(service);
    IOObjectRelease(iterator);
}

TEST_F(IORegistry, IteratesOverTheServicesThatWereMatched) {
    const io_iterator_t iterator = matching("IODisplayConnect");
    simulator::set({{"registry", nlohmann::json::array()}});
    const io_service_t service = IOIteratorNext(iterator);
    EXPECT_EQ(propertiesOf(service), services_[0]);
    IOObjectRelease(service);
    IOObjectRelease(iterator);
}

TEST_F(IORegistry, ResetForgetsHandles) {
    const io_iterator_t stale = matching("IODisplayConnect");
    simulator::reset({{"registry", services_}});
    const io_iterator_t fresh = matching("IODisplayConnect");
    EXPECT_NE(fresh, stale);
    EXPECT_EQ(IOObjectRelease(stale), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(IOObjectRelease(fresh), KERN_SUCCESS);
}

TEST_F(IORegistry, MeetsFaults) {
    const io_iterator_t iterator = matching("IODisplayConnect");
    const io_service_t service = IOIteratorNext(iterator);
    simulator::addFault({{"call", "IOServiceMatching"}, {"result", nullptr}});
    simulator::addFault({{"call", "IOIteratorNext"}, {"result", 0}});
    simulator::addFault({{"call", "IORegistryEntryCreateCFProperties"}, {"result", 5}});
    CFMutableDictionaryRef properties = nullptr;
    EXPECT_EQ(IOServiceMatching("IODisplayConnect"), nullptr);
    EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
    EXPECT_EQ(IORegistryEntryCreateCFProperties(service, &properties, nullptr, 0), KERN_FAILURE);
    EXPECT_EQ(properties, nullptr);
    IOObjectRelease(service);
    IOObjectRelease(iterator);
}

}  // namespace
}  // namespace tolvaran::tests
