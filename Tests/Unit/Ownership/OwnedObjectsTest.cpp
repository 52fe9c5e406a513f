#include "Ownership/CFRef.h"
#include "Ownership/IORef.h"
#include "Registry/RegistryProperties.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using OwnedObjects = SimulatedMacTest;

TEST_F(OwnedObjects, registry_objects_and_properties_are_given_back) {
    boot();
    io_iterator_t found = IO_OBJECT_NULL;
    ASSERT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching("IOFramebuffer"),
                                           &found),
              0);
    {
        const IORef services = IORef::adopt(found);
        const IORef service = IORef::adopt(IOIteratorNext(services.get()));
        const auto property = copyRegistryProperty(service.get(), CFSTR("DisplayID"));
        ASSERT_TRUE(property);
        EXPECT_FALSE(copyRegistryProperty(service.get(), CFSTR("NoSuchProperty")));
        const auto second = CFRef<CFTypeRef>::retain(property.get());
        EXPECT_EQ(simulated_mac::ledger::references(simulated_mac::Resource::cfObject,
                                                    reinterpret_cast<uintptr_t>(property.get())),
                  2u);
        EXPECT_NE(simulated_mac::ledger::outstanding(), "");
    }
    EXPECT_EQ(simulated_mac::ledger::outstanding(), "");
}

} // namespace

} // namespace veilpane::test
