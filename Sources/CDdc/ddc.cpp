#include "CDdc/ddc.h"

#include "Registry/RegistryEntries.h"
#include "Registry/RegistryProperties.h"

#include <IOKit/IOKitLib.h>

#include <array>
#include <dlfcn.h>
#include <memory>

// Apple's header declares its functions without extern "C".
extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

namespace veilpane {

namespace {

constexpr const char* coreGraphicsPath =
    "/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics";

constexpr std::uint8_t monitorAddress = 0x6E; // 8-bit form, write
constexpr std::uint8_t hostAddress = 0x51;
constexpr std::uint8_t setVCPFeature = 0x03;

constexpr std::uint8_t vcpPower = 0x0C;
constexpr std::uint16_t powerOn = 0x0001;
constexpr std::uint16_t powerOff = 0x0005;

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

struct ConnectionCloser {
    void operator()(IOI2CConnectRef connection) const { IOI2CInterfaceClose(connection, 0); }
};
using I2CConnection = std::unique_ptr<IOI2CConnect, ConnectionCloser>;

using SetVCPMessage = std::array<std::uint8_t, 7>;

// 0x80 + the length of the payload: opcode, code and the two bytes of the value.
constexpr std::uint8_t lengthByte = 0x80 + 4;

// The checksum is the XOR of the destination address and every byte before it.
constexpr SetVCPMessage setVCPMessage(std::uint8_t code, std::uint16_t value) {
    SetVCPMessage message = {hostAddress,
                             lengthByte,
                             setVCPFeature,
                             code,
                             static_cast<std::uint8_t>(value >> 8),
                             static_cast<std::uint8_t>(value & 0xFF),
                             monitorAddress};
    for (std::size_t i = 0; i + 1 < message.size(); ++i) {
        message.back() = static_cast<std::uint8_t>(message.back() ^ message[i]);
    }
    return message;
}

std::uint32_t numberOrZero(CFTypeRef object) {
    return isNumber(object) ? signedWord(object) : 0;
}

std::uint32_t numberOrDataOrZero(CFTypeRef object) {
    return isNumber(object) ? signedWord(object) : firstWordOfData(object).value_or(0);
}

bool framebufferHasDisplayID(io_service_t framebuffer, CGDirectDisplayID display) {
    const auto property = copyRegistryProperty(framebuffer, CFSTR("DisplayID"));
    return property && numberOrDataOrZero(property.get()) == display;
}

// Unlike a framebuffer's, a child's DisplayID counts only as a number.
bool childHasDisplayID(io_registry_entry_t child, CGDirectDisplayID display) {
    const auto property = copyRegistryProperty(child, CFSTR("DisplayID"));
    return property && isNumber(property.get()) && signedWord(property.get()) == display;
}

// Vendor and product both 0 mean that the monitor was not identified, which says nothing.
bool childHasVendorAndModel(io_registry_entry_t child, CGDirectDisplayID display) {
    const auto vendorProperty = copyRegistryProperty(child, CFSTR("DisplayVendorID"));
    const auto productProperty = copyRegistryProperty(child, CFSTR("DisplayProductID"));
    if (!vendorProperty || !productProperty) {
        return false;
    }
    const std::uint32_t vendor = numberOrZero(vendorProperty.get());
    const std::uint32_t product = numberOrZero(productProperty.get());
    return vendor == CGDisplayVendorNumber(display) && product == CGDisplayModelNumber(display) &&
           (vendor != 0 || product != 0);
}

bool someChildIsDisplay(io_service_t framebuffer, CGDirectDisplayID display) {
    const IORef children = childrenOf(framebuffer);
    while (const IORef child = nextEntry(children)) {
        if (childHasDisplayID(child.get(), display) ||
            childHasVendorAndModel(child.get(), display)) {
            return true;
        }
    }
    return false;
}

IOItemCount i2cBusCount(io_service_t framebuffer) {
    IOItemCount count = 0;
    return IOFBGetI2CInterfaceCount(framebuffer, &count) == kIOReturnSuccess ? count : 0;
}

// CoreGraphics knows the answer on Macs with IOFramebuffer drivers, but the function is deprecated
// and may be gone, so it is looked up at run time.
IORef framebufferKnownToCoreGraphics(CGDirectDisplayID display) {
    const Library coreGraphics(dlopen(coreGraphicsPath, RTLD_LAZY));
    if (!coreGraphics) {
        return {};
    }
    const auto servicePort = reinterpret_cast<io_service_t (*)(CGDirectDisplayID)>(
        dlsym(coreGraphics.get(), "CGDisplayIOServicePort"));
    if (servicePort == nullptr) {
        return {};
    }
    const io_service_t service = servicePort(display);
    if (service == IO_OBJECT_NULL) {
        return {};
    }
    if (IOObjectConformsTo(service, "IOFramebuffer") != 0) {
        return IORef::retain(service);
    }
    // The port is the graphics system's own; giving one reference back here is a known limit.
    IORef::adopt(service).reset();
    return {};
}

IORef framebufferFoundInRegistry(CGDirectDisplayID display) {
    const IORef framebuffers = matchingServices("IOFramebuffer");
    IORef candidate;
    int candidates = 0;
    while (IORef framebuffer = nextEntry(framebuffers)) {
        if (framebufferHasDisplayID(framebuffer.get(), display) ||
            someChildIsDisplay(framebuffer.get(), display)) {
            return framebuffer;
        }
        if (i2cBusCount(framebuffer.get()) > 0) {
            candidate = std::move(framebuffer);
            ++candidates;
        }
    }
    // With a single I2C bus in the Mac there is nothing to mistake it for; with two, a guess could
    // switch off the wrong monitor.
    return candidates == 1 ? std::move(candidate) : IORef();
}

IORef interfaceOnBus(io_service_t framebuffer, IOOptionBits bus) {
    io_service_t interface = IO_OBJECT_NULL;
    if (IOFBCopyI2CInterfaceForBus(framebuffer, bus, &interface) != kIOReturnSuccess) {
        return {};
    }
    return IORef::adopt(interface);
}

IORef interfaceAmongChildren(io_service_t framebuffer) {
    const IORef children = childrenOf(framebuffer);
    while (IORef child = nextEntry(children)) {
        if (IOObjectConformsTo(child.get(), "IOFramebufferI2CInterface") != 0 ||
            IOObjectConformsTo(child.get(), "IOI2CInterface") != 0) {
            return child;
        }
    }
    return {};
}

// The interface is not needed once it was opened, or has refused to.
I2CConnection openConnection(IORef interface) {
    IOI2CConnectRef connection = nullptr;
    const IOReturn opened = IOI2CInterfaceOpen(interface.get(), 0, &connection);
    return I2CConnection(opened == kIOReturnSuccess ? connection : nullptr);
}

// The call's own status only tells that the bus was given back; the transfer's is in the request.
bool sendRequest(I2CConnection connection, SetVCPMessage message) {
    IOI2CRequest request = {};
    request.sendTransactionType = kIOI2CSimpleTransactionType;
    request.replyTransactionType = kIOI2CNoTransactionType;
    request.sendAddress = monitorAddress;
    request.sendBuffer = reinterpret_cast<std::uintptr_t>(message.data());
    request.sendBytes = static_cast<std::uint32_t>(message.size());
    const IOReturn started = IOI2CSendRequest(connection.get(), 0, &request);
    return started == kIOReturnSuccess && request.result == kIOReturnSuccess;
}

} // namespace

} // namespace veilpane

std::int32_t ddc_set_vcp(CGDirectDisplayID display, std::uint8_t code, std::uint16_t value) {
    const veilpane::IORef framebuffer = copy_framebuffer_for_display(display);
    if (!framebuffer) {
        return DDCResultNoFramebuffer;
    }
    veilpane::IORef interface = copy_i2c_interface(framebuffer.get());
    if (!interface) {
        return DDCResultNoI2CInterface;
    }
    veilpane::I2CConnection connection = veilpane::openConnection(std::move(interface));
    if (!connection) {
        return DDCResultOpenFailed;
    }
    const bool sent =
        veilpane::sendRequest(std::move(connection), veilpane::setVCPMessage(code, value));
    return sent ? DDCResultSent : DDCResultSendFailed;
}

std::int32_t ddc_set_power(CGDirectDisplayID display, bool on) {
    return ddc_set_vcp(display, veilpane::vcpPower, on ? veilpane::powerOn : veilpane::powerOff);
}

int ddc_can_control(CGDirectDisplayID display) {
    veilpane::IORef framebuffer = copy_framebuffer_for_display(display);
    if (!framebuffer) {
        return 0;
    }
    const veilpane::IORef interface = copy_i2c_interface(framebuffer.get());
    framebuffer.reset();
    return interface ? 1 : 0;
}

veilpane::IORef copy_framebuffer_for_display(CGDirectDisplayID display) {
    veilpane::IORef framebuffer = veilpane::framebufferKnownToCoreGraphics(display);
    return framebuffer ? std::move(framebuffer) : veilpane::framebufferFoundInRegistry(display);
}

veilpane::IORef copy_i2c_interface(io_service_t framebuffer) {
    const IOItemCount buses = veilpane::i2cBusCount(framebuffer);
    for (IOOptionBits bus = 0; bus < buses; ++bus) {
        if (veilpane::IORef interface = veilpane::interfaceOnBus(framebuffer, bus)) {
            return interface;
        }
    }
    return veilpane::interfaceAmongChildren(framebuffer);
}
