// The I2C buses of framebuffers on the simulated Mac.

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/Calls/Registry.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <IOKit/IOKitLib.h>

#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

using namespace simulated_mac;

struct IOI2CConnect {
    int number;
    std::optional<uint32_t> display;
};

namespace {

constexpr uint32_t busMask = 0xFF;
constexpr uint32_t longestTransfer = 1024;

// Connections stay where they are after they are closed, so that a later use is told for certain.
std::deque<IOI2CConnect>& connections() {
    static std::deque<IOI2CConnect> all;
    return all;
}

/// The nub of bus `bus`: the framebuffer's I2C interface child of that place. A registry that gives
/// a framebuffer buses but no such children gets nubs of its own.
const RegistryNode& interfaceOnBus(const RegistryNode& framebuffer, uint32_t bus) {
    uint32_t place = 0;
    for (const RegistryNode& child : framebuffer.children) {
        if (conformsTo(child.className, "IOI2CInterface") && place++ == bus) {
            return child;
        }
    }
    return framebuffer;
}

std::optional<uint32_t> displayBehind(const std::vector<RegistryNode>& nodes,
                                      const RegistryNode& interface) {
    for (const RegistryNode& node : nodes) {
        if (&node == &interface) {
            return node.busDisplay;
        }
        for (const RegistryNode& child : node.children) {
            if (&child == &interface) {
                return node.busDisplay;
            }
        }
        if (const auto found = displayBehind(node.children, interface)) {
            return found;
        }
    }
    return std::nullopt;
}

const MonitorDDC* monitorOf(const IOI2CConnect& connect) {
    const SceneDisplay* const display =
        connect.display ? RunningMac::current().sceneDisplay(*connect.display) : nullptr;
    return display != nullptr && display->ddc ? &*display->ddc : nullptr;
}

std::string hex(std::span<const uint8_t> bytes) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

/// When each monitor last took a message, in platform calls of this process. A monitor of a process
/// that has just begun has had time enough.
struct Hearing {
    int mac = 0; // RunningMac::serial
    std::map<uint32_t, uint64_t> last;
};

std::map<uint32_t, uint64_t>& lastHeard() {
    static Hearing hearing;
    if (const int mac = RunningMac::current().serial(); hearing.mac != mac) {
        hearing = {mac, {}};
    }
    return hearing.last;
}

bool comesTooEarly(const MonitorDDC& monitor, uint32_t display) {
    const auto last = lastHeard().find(display);
    return last != lastHeard().end() &&
           RunningMac::current().callCount() <= last->second + monitor.minGapCalls;
}

/// Why a monitor does not take a message that reaches it; null when it does.
const char* reasonForDeafness(const MonitorDDC& monitor, uint32_t display) {
    if (monitor.deafInStandby && RunningMac::current().state().isInStandby(display)) {
        return "deaf in standby";
    }
    return comesTooEarly(monitor, display) ? "too early" : nullptr;
}

void noteUnlessZero(Call& call, const char* field, uint64_t value) {
    if (value != 0) {
        call.note(field, value);
    }
}

/// Tells what makes a request other than a plain write.
void noteFields(Call& call, const IOI2CRequest& request) {
    if (request.sendTransactionType != kIOI2CSimpleTransactionType) {
        call.note("sendTransactionType", uint32_t(request.sendTransactionType));
    }
    noteUnlessZero(call, "replyTransactionType", request.replyTransactionType);
    noteUnlessZero(call, "sendSubAddress", request.sendSubAddress);
    noteUnlessZero(call, "replyAddress", request.replyAddress);
    noteUnlessZero(call, "replySubAddress", request.replySubAddress);
    noteUnlessZero(call, "replyBytes", request.replyBytes);
    noteUnlessZero(call, "minReplyDelay", request.minReplyDelay);
    noteUnlessZero(call, "commFlags", request.commFlags);
    noteUnlessZero(call, "completion", request.completion != nullptr ? 1 : 0);
}

// The fields for replies count only when a reply is asked for.
bool isSupported(const IOI2CRequest& request) {
    return request.sendTransactionType <= kIOI2CSimpleTransactionType &&
           request.replyTransactionType == kIOI2CNoTransactionType && request.commFlags == 0;
}

/// Transfers the message; the result is what the request's own field tells.
IOReturn transfer(Call& call, const IOI2CConnect& connect, uint32_t address,
                  std::span<const uint8_t> bytes) {
    const MonitorDDC* const monitor = monitorOf(connect);
    if (monitor == nullptr || !RunningMac::current().state().isConnected(*connect.display)) {
        return kIOReturnNoDevice;
    }
    if (const char* const deaf = reasonForDeafness(*monitor, *connect.display)) {
        call.note("lost", deaf);
    } else if (monitor->result == kIOReturnSuccess) {
        lastHeard()[*connect.display] = RunningMac::current().callCount();
        RunningMac::current().change(
            [&](MacState& state) { state.monitorReceives(*connect.display, address, bytes); });
    }
    return monitor->result;
}

/// What becomes of a request that is taken up.
IOReturn outcomeOf(Call& call, const IOI2CConnect& connect, const IOI2CRequest& request,
                   std::span<const uint8_t> bytes) {
    const auto given = call.fault() ? call.fault()->result : std::nullopt;
    if (given && !call.fault()->effect) {
        return *given;
    }
    if (!isSupported(request)) {
        return kIOReturnUnsupportedMode;
    }
    const bool sends = request.sendTransactionType != kIOI2CNoTransactionType;
    const IOReturn result =
        sends ? transfer(call, connect, request.sendAddress, bytes) : kIOReturnSuccess;
    return given.value_or(result);
}

} // namespace

extern "C" {

IOReturn IOFBGetI2CInterfaceCount(io_service_t framebuffer, IOItemCount* count) {
    Call call(__func__, {framebuffer});
    const RegistryNode& node = nodeFor(framebuffer, __func__);
    if (call.failed()) {
        return call.returns(call.failure<IOReturn>());
    }
    *count = call.yieldsNull() ? 0 : static_cast<IOItemCount>(node.i2cBuses);
    call.note("count", *count);
    return call.returns(kIOReturnSuccess);
}

IOReturn IOFBCopyI2CInterfaceForBus(io_service_t framebuffer, IOOptionBits bus,
                                    io_service_t* interface) {
    Call call(__func__, {framebuffer, bus});
    const RegistryNode& node = nodeFor(framebuffer, __func__);
    if (call.failed()) {
        return call.returns(call.failure<IOReturn>());
    }
    if ((bus & busMask) >= static_cast<uint32_t>(node.i2cBuses)) {
        return call.returns(kIOReturnNoDevice);
    }
    *interface =
        call.yieldsNull() ? IO_OBJECT_NULL : retainedEntry(interfaceOnBus(node, bus & busMask));
    noteUnlessZero(call, "interface", *interface);
    return call.returns(kIOReturnSuccess);
}

IOReturn IOI2CInterfaceOpen(io_service_t interface, IOOptionBits options,
                            IOI2CConnectRef* connect) {
    Call call(__func__, {interface, options});
    const RegistryNode& node = nodeFor(interface, __func__);
    // Published source: for an object of another class the reference is not written at all.
    if (!conformsTo(node.className, "IOI2CInterface") && node.i2cBuses == 0) {
        return call.returns(kIOReturnBadArgument);
    }
    *connect = nullptr;
    if (call.failed()) {
        return call.returns(call.failure<IOReturn>());
    }
    IOI2CConnect opened{static_cast<int>(connections().size()) + 1,
                        displayBehind(RunningMac::current().scene().registry, node)};
    const MonitorDDC* const monitor = monitorOf(opened);
    if (options != 0 || (monitor != nullptr && monitor->open != kIOReturnSuccess)) {
        return call.returns(options != 0 ? kIOReturnBadArgument : monitor->open);
    }
    if (call.yieldsNull()) {
        return call.returns(kIOReturnSuccess);
    }
    connections().push_back(opened);
    *connect = &connections().back();
    ledger::opened(Resource::i2cConnection, ledger::handle(*connect),
                   "I2C connection " + std::to_string(opened.number));
    call.note("connection", opened.number);
    return call.returns(kIOReturnSuccess);
}

IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits options) {
    if (connect == nullptr) {
        crash(__func__, "NULL");
    }
    Call call(__func__, {connect->number, options});
    ledger::closed(Resource::i2cConnection, ledger::handle(connect), __func__);
    return call.returns(call.failed() ? call.failure<IOReturn>() : kIOReturnSuccess);
}

IOReturn IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits options, IOI2CRequest* request) {
    ledger::requireOpen(Resource::i2cConnection, ledger::handle(connect), __func__);
    Call call(__func__, {connect->number, options});
    const auto* const buffer = reinterpret_cast<const uint8_t*>(uintptr_t(request->sendBuffer));
    const std::vector<uint8_t> bytes(buffer, buffer + request->sendBytes);
    call.note("address", uint32_t(request->sendAddress));
    call.note("bytes", hex(bytes));
    noteFields(call, *request);
    if (request->sendBytes > longestTransfer) {
        return call.returns(kIOReturnOverrun);
    }
    if (call.failed()) {
        return call.returns(call.failure<IOReturn>());
    }
    const MonitorDDC* const monitor = monitorOf(*connect);
    if (monitor != nullptr && monitor->send != kIOReturnSuccess) {
        return call.returns(monitor->send);
    }
    request->result = outcomeOf(call, *connect, *request, bytes);
    noteUnlessZero(call, "requestResult", static_cast<uint32_t>(request->result));
    // Published source: the buffer fields come back zeroed.
    request->sendBuffer = 0;
    request->replyBuffer = 0;
    return call.returns(kIOReturnSuccess);
}

} // extern "C"
