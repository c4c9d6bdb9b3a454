// The I/O Kit registry.
#include <IOKit/IOKitLib.h>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using tolvaran::CFRef;

class Registry : public Contract {};

/// Reads the properties of every service of a class. @return how many services there are
int readAll(const char* className, bool mustHaveProperties) {
    CFMutableDictionaryRef matching = IOServiceMatching(className);
    EXPECT_NE(matching, nullptr);
    io_iterator_t iterator = IO_OBJECT_NULL;
    // Documented: this consumes a reference to `matching`, so it must not be released here.
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, matching, &iterator), KERN_SUCCESS);
    int count = 0;
    while (const io_service_t service = IOIteratorNext(iterator)) {
        CFMutableDictionaryRef created = nullptr;
        const kern_return_t status =
            IORegistryEntryCreateCFProperties(service, &created, kCFAllocatorDefault, 0);
        const auto properties = CFRef<CFMutableDictionaryRef>::assume(created);
        if (mustHaveProperties) {
            EXPECT_EQ(status, KERN_SUCCESS);
            EXPECT_NE(tolvaran::cf::dictionary(properties.get()), nullptr);
        }
        EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
        ++count;
    }
    if (iterator != IO_OBJECT_NULL) {
        EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
        EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
    }
    return count;
}

// Left open: which Macs have services of this class. Those with Apple's own processors have none;
// then there is nothing to read, which is not a failure.
TEST_F(Registry, DisplayConnectionsCanBeReadAndReleased) {
    const int first = readAll("IODisplayConnect", true);
    EXPECT_EQ(readAll("IODisplayConnect", true), first);
}

// Documented: success, and an iterator that may be null.
TEST_F(Registry, AnUnknownClassMatchesNothing) {
    EXPECT_EQ(readAll("TolvaranContractTestsHaveNoSuchClass", false), 0);
}

// Documented: zero when no more remain or the iterator is invalid.
TEST_F(Registry, ANullIteratorHasNothing) {
    EXPECT_EQ(IOIteratorNext(IO_OBJECT_NULL), IO_OBJECT_NULL);
}

}  // namespace
