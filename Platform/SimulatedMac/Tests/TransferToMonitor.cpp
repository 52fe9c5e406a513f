#include "SimulatedMac/Tests/TransferToMonitor.h"

#include <array>

namespace simulated_mac {
namespace {

io_service_t framebufferAt(int place) {
    io_iterator_t all = IO_OBJECT_NULL;
    IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching("IOFramebuffer"), &all);
    io_service_t framebuffer = IOIteratorNext(all);
    for (int i = 0; i < place; ++i) {
        IOObjectRelease(framebuffer);
        framebuffer = IOIteratorNext(all);
    }
    IOObjectRelease(all);
    return framebuffer;
}

} // namespace

Transfer setFeature(uint8_t code, uint8_t value, const std::function<void(IOI2CRequest&)>& change,
                    int place) {
    std::array<uint8_t, 7> bytes = {0x51, 0x84, 0x03, code, 0, value, 0x6E};
    for (std::size_t i = 0; i < 6; ++i) {
        bytes[6] = static_cast<uint8_t>(bytes[6] ^ bytes[i]);
    }
    IOI2CRequest request = {};
    request.sendTransactionType = kIOI2CSimpleTransactionType;
    request.sendAddress = 0x6E;
    request.sendBuffer = reinterpret_cast<uintptr_t>(bytes.data());
    request.sendBytes = bytes.size();
    request.result = Transfer::untouched;
    if (change) {
        change(request);
    }
    io_service_t const framebuffer = framebufferAt(place);
    io_service_t interface = IO_OBJECT_NULL;
    IOFBCopyI2CInterfaceForBus(framebuffer, 0, &interface);
    IOI2CConnectRef connect = nullptr;
    IOI2CInterfaceOpen(interface, 0, &connect);
    const IOReturn returned = IOI2CSendRequest(connect, 0, &request);
    IOI2CInterfaceClose(connect, 0);
    IOObjectRelease(interface);
    IOObjectRelease(framebuffer);
    return {returned, request.result};
}

Transfer setBrightness(uint8_t value, const std::function<void(IOI2CRequest&)>& change) {
    return setFeature(0x10, value, change);
}

} // namespace simulated_mac
