#include "MacProgram/Frameworks/Frameworks.h"
#include "MacProgram/Frameworks/WithTwins.h"

#include <IOKit/IOKitLib.h>

// Apple's header declares its functions without extern "C".
extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

namespace mac_program {

Library ioKit() {
    return {"/System/Library/Frameworks/IOKit.framework/Versions/A/IOKit",
            {
                function("_IOFBCopyI2CInterfaceForBus", IOFBCopyI2CInterfaceForBus),
                function("_IOFBGetI2CInterfaceCount", IOFBGetI2CInterfaceCount),
                function("_IOI2CInterfaceClose", IOI2CInterfaceClose),
                function("_IOI2CInterfaceOpen", IOI2CInterfaceOpen),
                function("_IOI2CSendRequest", IOI2CSendRequest),
                function("_IOIteratorNext", IOIteratorNext),
                function("_IOObjectConformsTo", IOObjectConformsTo),
                function("_IOObjectGetClass", IOObjectGetClass),
                function("_IOObjectRelease", IOObjectRelease),
                function("_IOObjectRetain", IOObjectRetain),
                function("_IORegistryEntryGetChildIterator", IORegistryEntryGetChildIterator),
                function("_IORegistryEntryGetRegistryEntryID", IORegistryEntryGetRegistryEntryID),
                function("_IOServiceGetMatchingServices", IOServiceGetMatchingServices),
                function("_IOServiceMatching", IOServiceMatching),
                withTwins<IORegistryEntryCreateCFProperty>("_IORegistryEntryCreateCFProperty"),
                data("_kIOMainPortDefault", &kIOMainPortDefault),
            },
            {}};
}

} // namespace mac_program
