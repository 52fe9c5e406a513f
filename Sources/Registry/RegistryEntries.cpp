#include "Registry/RegistryEntries.h"

namespace veilpane {

IORef matchingServices(const char* className) {
    io_iterator_t services = IO_OBJECT_NULL;
    // The call takes over the matching dictionary, whatever it returns.
    if (IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching(className), &services) !=
        kIOReturnSuccess) {
        return {};
    }
    return IORef::adopt(services);
}

IORef childrenOf(io_registry_entry_t entry) {
    io_iterator_t children = IO_OBJECT_NULL;
    if (IORegistryEntryGetChildIterator(entry, kIOServicePlane, &children) != kIOReturnSuccess) {
        return {};
    }
    return IORef::adopt(children);
}

IORef nextEntry(const IORef& iterator) {
    return iterator ? IORef::adopt(IOIteratorNext(iterator.get())) : IORef();
}

} // namespace veilpane
