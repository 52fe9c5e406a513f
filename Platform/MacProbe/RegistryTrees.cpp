#include "MacProbe/RegistryTrees.h"

#include "MacProbe/RegistryValues.h"
#include "Registry/RegistryEntries.h"
#include "Registry/RegistryProperties.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <memory>
#include <set>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

namespace macprobe {

namespace {

using veilpane::IORef;

// Those above come first, so that what is below them is written there.
constexpr std::array branchClasses = {"IOFramebuffer", "IOMobileFramebuffer", "IODisplayConnect",
                                      "IODisplay", "AppleCLCD2"};

// Below a framebuffer hang accelerators' and clients' nodes by the hundred, which no scene needs.
constexpr std::array toldClasses = {"IOI2CInterface", "IODisplayConnect", "IODisplay"};

constexpr std::size_t deepest = 8;

constexpr const char* coreGraphicsPath =
    "/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics";

std::string classOf(io_registry_entry_t entry) {
    io_name_t name = {};
    return IOObjectGetClass(entry, name) == kIOReturnSuccess ? std::string(name) : std::string();
}

std::uint64_t numberOf(io_registry_entry_t entry) {
    std::uint64_t number = 0;
    return IORegistryEntryGetRegistryEntryID(entry, &number) == kIOReturnSuccess ? number : 0;
}

RegistryEntry::Kind kindOf(io_registry_entry_t entry) {
    if (IOObjectConformsTo(entry, "IOFramebuffer") != 0) {
        return RegistryEntry::Kind::framebuffer;
    }
    if (IOObjectConformsTo(entry, "IOMobileFramebuffer") != 0) {
        return RegistryEntry::Kind::pipe;
    }
    return IOObjectConformsTo(entry, "IOI2CInterface") != 0 ? RegistryEntry::Kind::i2cInterface
                                                            : RegistryEntry::Kind::other;
}

std::uint32_t i2cBusesOf(io_registry_entry_t framebuffer) {
    IOItemCount count = 0;
    constexpr IOItemCount most = 256;
    return IOFBGetI2CInterfaceCount(framebuffer, &count) == kIOReturnSuccess ? std::min(count, most)
                                                                             : 0;
}

Json::Object propertiesOf(io_registry_entry_t entry) {
    Json::Object properties;
    for (const CFStringRef key : toldProperties()) {
        const auto property = veilpane::copyRegistryProperty(entry, key);
        const std::string name = utf8(key).value_or("");
        auto value = property ? registryValue(name, property.get()) : std::nullopt;
        if (value) {
            properties.emplace_back(name, std::move(*value));
        }
    }
    return properties;
}

bool conformsToAny(io_registry_entry_t entry, const auto& classes) {
    return std::ranges::any_of(classes, [entry](const char* className) {
        return IOObjectConformsTo(entry, className) != 0;
    });
}

RegistryEntry entryFrom(const IORef& entry, std::size_t depth, std::set<std::uint64_t>& seen) {
    const auto kind = kindOf(entry.get());
    const bool hasBuses = kind == RegistryEntry::Kind::framebuffer;
    RegistryEntry told{classOf(entry.get()),
                       kind,
                       numberOf(entry.get()),
                       propertiesOf(entry.get()),
                       hasBuses ? i2cBusesOf(entry.get()) : 0,
                       {}};
    seen.insert(told.number);
    const IORef children = depth < deepest ? veilpane::childrenOf(entry.get()) : IORef();
    while (const IORef child = veilpane::nextEntry(children)) {
        if (conformsToAny(child.get(), toldClasses)) {
            told.children.push_back(entryFrom(child, depth + 1, seen));
        }
    }
    return told;
}

void addBranches(const char* className, std::vector<RegistryEntry>& branches,
                 std::set<std::uint64_t>& seen) {
    const IORef services = veilpane::matchingServices(className);
    while (const IORef service = veilpane::nextEntry(services)) {
        if (!seen.contains(numberOf(service.get()))) {
            branches.push_back(entryFrom(service, 1, seen));
        }
    }
}

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};

Json entryInScene(const RegistryEntry& entry,
                  const std::map<std::uint64_t, CGDirectDisplayID>& displaysByPort) {
    Json::Object node = {{"class", entry.className}};
    if (const auto display = displaysByPort.find(entry.number); display != displaysByPort.end()) {
        node.emplace_back("display", display->second);
    }
    if (entry.i2cBuses > 0) {
        node.emplace_back("i2cBuses", entry.i2cBuses);
    }
    if (!entry.properties.empty()) {
        node.emplace_back("properties", entry.properties);
    }
    Json::Array children;
    for (const RegistryEntry& child : entry.children) {
        children.push_back(entryInScene(child, displaysByPort));
    }
    if (!children.empty()) {
        node.emplace_back("children", std::move(children));
    }
    return node;
}

} // namespace

const Json* RegistryEntry::property(const std::string& name) const {
    const auto found = std::ranges::find(properties, name, &Json::Object::value_type::first);
    return found == properties.end() ? nullptr : &found->second;
}

std::vector<RegistryEntry> displayBranches() {
    std::vector<RegistryEntry> branches;
    std::set<std::uint64_t> seen;
    for (const char* const className : branchClasses) {
        addBranches(className, branches, seen);
    }
    return branches;
}

// Deprecated, and perhaps gone: looked up as the program for displays does. The port is the
// graphics system's own and is not given back.
std::map<CGDirectDisplayID, std::uint64_t>
servicePorts(const std::vector<CGDirectDisplayID>& displays) {
    const std::unique_ptr<void, LibraryCloser> coreGraphics(dlopen(coreGraphicsPath, RTLD_LAZY));
    const auto servicePort = coreGraphics == nullptr
                                 ? nullptr
                                 : reinterpret_cast<io_service_t (*)(CGDirectDisplayID)>(
                                       dlsym(coreGraphics.get(), "CGDisplayIOServicePort"));
    std::map<CGDirectDisplayID, std::uint64_t> ports;
    for (const CGDirectDisplayID display : displays) {
        const io_service_t port = servicePort == nullptr ? IO_OBJECT_NULL : servicePort(display);
        if (port != IO_OBJECT_NULL) {
            ports[display] = numberOf(port);
        }
    }
    return ports;
}

Json sceneRegistry(const std::vector<RegistryEntry>& branches,
                   const std::map<CGDirectDisplayID, std::uint64_t>& ports) {
    std::map<std::uint64_t, CGDirectDisplayID> displaysByPort;
    for (const auto& [display, port] : ports) {
        displaysByPort[port] = display;
    }
    Json::Array nodes;
    for (const RegistryEntry& branch : branches) {
        nodes.push_back(entryInScene(branch, displaysByPort));
    }
    return nodes;
}

} // namespace macprobe
