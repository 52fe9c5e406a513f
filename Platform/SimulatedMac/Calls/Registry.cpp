// The I/O registry on the simulated Mac.

#include "SimulatedMac/Calls/Registry.h"

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/Calls/OwnedCF.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace simulated_mac;

extern "C" const mach_port_t kIOMainPortDefault = 0;

namespace {

using nlohmann::json;

constexpr io_object_t firstEntry = 0x1003;
constexpr io_object_t firstIterator = 0x100003;

struct Iterator {
    std::vector<const RegistryNode*> nodes;
    int pluggings = 0; ///< MacState::pluggings when it was made
    std::size_t next = 0;
};

struct Registry {
    int mac = 0;                              // RunningMac::serial
    std::vector<const RegistryNode*> entries; // handle: firstEntry + index
    std::vector<Iterator> iterators;          // handle: firstIterator + index
    std::set<io_object_t> borrowedPorts;      // references of the graphics system's own
};

void collect(const std::vector<RegistryNode>& nodes, std::vector<const RegistryNode*>& entries) {
    for (const RegistryNode& node : nodes) {
        entries.push_back(&node);
        collect(node.children, entries);
    }
}

// Made anew for each Mac that a process boots.
Registry& registry() {
    static Registry current;
    const RunningMac& mac = RunningMac::current();
    if (current.mac != mac.serial()) {
        current = {};
        current.mac = mac.serial();
        collect(mac.scene().registry, current.entries);
    }
    return current;
}

io_object_t handleOf(const RegistryNode& node) {
    const auto& entries = registry().entries;
    const auto index = std::ranges::find(entries, &node) - entries.begin();
    return firstEntry + static_cast<io_object_t>(index);
}

std::string describe(const RegistryNode& node) {
    return node.className + " entry";
}

// Documented for Intel: the nodes of a monitor vanish with it. Those of the connector stay.
bool hasVanished(const RegistryNode* node) {
    return node->display && !RunningMac::current().state().isConnected(*node->display);
}

// Documented: an iterator becomes invalid when the registry changes, and then yields nothing.
bool isInvalid(const Iterator& iterator) {
    return iterator.pluggings != RunningMac::current().state().pluggings();
}

io_iterator_t newIterator(std::vector<const RegistryNode*> nodes, const std::string& what) {
    auto& iterators = registry().iterators;
    std::erase_if(nodes, hasVanished);
    iterators.push_back({std::move(nodes), RunningMac::current().state().pluggings()});
    const auto handle = firstIterator + static_cast<io_object_t>(iterators.size()) - 1;
    ledger::opened(Resource::ioObject, handle, "iterator over " + what);
    return handle;
}

Iterator* iteratorFor(io_object_t handle) {
    auto& iterators = registry().iterators;
    return handle >= firstIterator && handle - firstIterator < iterators.size()
               ? &iterators[handle - firstIterator]
               : nullptr;
}

const RegistryNode* entryFor(io_object_t handle) {
    const auto& entries = registry().entries;
    return handle >= firstEntry && handle - firstEntry < entries.size()
               ? entries[handle - firstEntry]
               : nullptr;
}

// The classes that matter here with the class that each derives from.
std::string superclassOf(const std::string& className) {
    static const std::map<std::string, std::string> superclasses = {
        {"AppleDisplay", "IODisplay"},
        {"AppleBacklightDisplay", "IOBacklightDisplay"},
        {"IOBacklightDisplay", "IODisplay"},
        {"IODisplay", "IOService"},
        {"IODisplayConnect", "IOService"},
        {"IOFramebuffer", "IOGraphicsDevice"},
        {"IOGraphicsDevice", "IOService"},
        {"IOFramebufferI2CInterface", "IOI2CInterface"},
        {"IOI2CInterface", "IOService"},
        {"AppleCLCD2", "IOMobileFramebuffer"},
        {"IOMobileFramebufferShim", "IOMobileFramebuffer"},
        {"IOMobileFramebuffer", "IOService"},
        {"IOService", ""},
    };
    if (const auto found = superclasses.find(className); found != superclasses.end()) {
        return found->second;
    }
    // Drivers of graphics cards name their classes so: AppleIntelFramebuffer, AMDFramebuffer.
    return className.ends_with("Framebuffer") ? "IOFramebuffer" : "IOService";
}

OwnedCF stringObject(const std::string& text) {
    return OwnedCF(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                           static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8,
                                           0));
}

OwnedCF dataObject(const std::string& hex) {
    std::vector<UInt8> bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<UInt8>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return OwnedCF(CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

std::vector<const void*> pointersTo(const std::vector<OwnedCF>& objects) {
    std::vector<const void*> pointers(objects.size());
    std::ranges::transform(objects, pointers.begin(), &OwnedCF::get);
    return pointers;
}

OwnedCF propertyObject(const json& property);

// Arrays and dictionaries have references of their own to what they hold.

OwnedCF arrayObject(const json& elements) {
    std::vector<OwnedCF> values;
    std::ranges::transform(elements, std::back_inserter(values), propertyObject);
    return OwnedCF(CFArrayCreate(nullptr, pointersTo(values).data(),
                                 static_cast<CFIndex>(values.size()), &kCFTypeArrayCallBacks));
}

OwnedCF dictionaryObject(const json& members) {
    std::vector<OwnedCF> keys;
    std::vector<OwnedCF> values;
    for (const auto& [key, value] : members.items()) {
        keys.push_back(stringObject(key));
        values.push_back(propertyObject(value));
    }
    return OwnedCF(CFDictionaryCreate(nullptr, pointersTo(keys).data(), pointersTo(values).data(),
                                      static_cast<CFIndex>(keys.size()),
                                      &kCFTypeDictionaryKeyCallBacks,
                                      &kCFTypeDictionaryValueCallBacks));
}

OwnedCF numberObject(const json& number) {
    if (number.is_number_float()) {
        const auto value = number.get<double>();
        return OwnedCF(CFNumberCreate(nullptr, kCFNumberFloat64Type, &value));
    }
    const auto value = number.get<int64_t>();
    return OwnedCF(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
}

OwnedCF propertyObject(const json& property) {
    if (property.is_string()) {
        return stringObject(property.get<std::string>());
    }
    if (property.is_boolean()) {
        return OwnedCF(CFRetain(property.get<bool>() ? kCFBooleanTrue : kCFBooleanFalse));
    }
    if (property.is_number()) {
        return numberObject(property);
    }
    if (property.is_array()) {
        return arrayObject(property);
    }
    if (property.size() == 1 && property.contains("data")) {
        return dataObject(property["data"].get<std::string>());
    }
    return dictionaryObject(property);
}

std::string textOf(CFStringRef string) {
    char text[512] = {};
    return CFStringGetCString(string, text, sizeof text, kCFStringEncodingUTF8) != 0 ? text : "";
}

CFStringRef classKey() {
    return CFSTR("IOProviderClass");
}

std::vector<const RegistryNode*> nodesOfClass(const std::string& className) {
    std::vector<const RegistryNode*> found;
    std::ranges::copy_if(
        registry().entries, std::back_inserter(found),
        [&](const RegistryNode* node) { return conformsTo(node->className, className); });
    return found;
}

// The graphics system of an Intel Mac knows which connector a display is on, although no property
// says so.
bool isPortOf(const RegistryNode& node, uint32_t displayID) {
    const bool isIntel = RunningMac::current().scene().hardware == Hardware::intel;
    if (node.connectorOf == displayID || (isIntel && node.busDisplay == displayID)) {
        return true;
    }
    const auto property = node.properties.find("DisplayID");
    return property != node.properties.end() && *property == displayID;
}

// A port that the graphics system handed out although its own last reference was given back. It is
// an invalid name by then, which the functions that take any object refuse.
bool isDeadPort(io_object_t object) {
    return registry().borrowedPorts.contains(object) &&
           ledger::references(Resource::ioObject, object) == 0;
}

// The dictionary is consumed whatever becomes of the search.
std::string consumeMatching(CFDictionaryRef matching) {
    const OwnedCF consumed(matching);
    const auto* const className =
        static_cast<CFStringRef>(CFDictionaryGetValue(matching, classKey()));
    return className == nullptr ? "" : textOf(className);
}

} // namespace

namespace simulated_mac {

bool conformsTo(const std::string& className, const std::string& ancestor) {
    for (std::string current = className; !current.empty(); current = superclassOf(current)) {
        if (current == ancestor) {
            return true;
        }
    }
    return false;
}

const RegistryNode& nodeFor(io_registry_entry_t entry, const char* call) {
    ledger::requireOpen(Resource::ioObject, entry, call);
    const RegistryNode* const node = entryFor(entry);
    if (node == nullptr) {
        crash(call, "an iterator is no registry entry");
    }
    return *node;
}

io_object_t retainedEntry(const RegistryNode& node) {
    const io_object_t handle = handleOf(node);
    ledger::opened(Resource::ioObject, handle, describe(node));
    return handle;
}

io_service_t servicePortForDisplay(uint32_t displayID) {
    const SceneDisplay* const display = RunningMac::current().sceneDisplay(displayID);
    if (display == nullptr || !display->servicePort) {
        return IO_OBJECT_NULL;
    }
    const auto& entries = registry().entries;
    const auto node = std::ranges::find_if(
        entries, [&](const RegistryNode* entry) { return isPortOf(*entry, displayID); });
    if (node == entries.end()) {
        return IO_OBJECT_NULL;
    }
    const io_object_t handle = handleOf(**node);
    // The graphics system holds a reference of its own, which is not the program's to give back.
    if (registry().borrowedPorts.insert(handle).second) {
        ledger::opened(Resource::ioObject, handle, describe(**node));
        ledger::exempt(Resource::ioObject, handle);
    }
    return handle;
}

} // namespace simulated_mac

extern "C" {

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    Call call(__func__, {name});
    if (call.failed() || call.yieldsNull()) {
        return call.returns<CFMutableDictionaryRef>(nullptr, nullptr);
    }
    const InternalCalls internal;
    const void* key = classKey();
    const OwnedCF owned = stringObject(name);
    const void* value = owned.get();
    const CFDictionaryRef matching = CFDictionaryCreate(
        nullptr, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    return call.returns(const_cast<CFMutableDictionaryRef>(matching), true);
}

kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching,
                                           io_iterator_t* existing) {
    if (matching == nullptr) {
        Call call(__func__, {mainPort, nullptr});
        return call.returns(kIOReturnBadArgument);
    }
    std::string className;
    {
        const InternalCalls internal;
        className = consumeMatching(matching);
    }
    Call call(__func__, {mainPort, className});
    if (call.failed()) {
        return call.returns(call.failure<kern_return_t>());
    }
    *existing =
        call.yieldsNull() ? IO_OBJECT_NULL : newIterator(nodesOfClass(className), className);
    return call.returns(kIOReturnSuccess);
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    Call call(__func__, {iterator});
    ledger::requireOpen(Resource::ioObject, iterator, __func__);
    Iterator* const position = iteratorFor(iterator);
    if (position == nullptr) {
        crash(__func__, "a registry entry is no iterator");
    }
    const bool ended = position->next == position->nodes.size() || isInvalid(*position);
    if (call.failed() || call.yieldsNull() || ended) {
        return call.returns(IO_OBJECT_NULL);
    }
    return call.returns(retainedEntry(*position->nodes[position->next++]));
}

// A faulted release or retain reports the error but takes effect: the program cannot do more.
kern_return_t IOObjectRetain(io_object_t object) {
    Call call(__func__, {object});
    ledger::requireOpen(Resource::ioObject, object, __func__);
    const RegistryNode* const node = entryFor(object);
    ledger::opened(Resource::ioObject, object, node == nullptr ? "iterator" : describe(*node));
    return call.returns(call.failed() ? call.failure<kern_return_t>() : kIOReturnSuccess);
}

kern_return_t IOObjectRelease(io_object_t object) {
    Call call(__func__, {object});
    if (object == IO_OBJECT_NULL || isDeadPort(object)) {
        return call.returns(kIOReturnBadArgument);
    }
    if (registry().borrowedPorts.contains(object) &&
        ledger::references(Resource::ioObject, object) == 1) {
        call.note("note", "released the graphics system's own reference");
    }
    ledger::closed(Resource::ioObject, object, __func__);
    return call.returns(call.failed() ? call.failure<kern_return_t>() : kIOReturnSuccess);
}

boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className) {
    Call call(__func__, {object, className});
    if (object == IO_OBJECT_NULL || isDeadPort(object)) {
        return call.returns<boolean_t>(0);
    }
    const bool conforms = conformsTo(nodeFor(object, __func__).className, className);
    return call.returns<boolean_t>(call.failed() ? call.failure<boolean_t>()
                                                 : conforms && !call.yieldsNull());
}

kern_return_t IOObjectGetClass(io_object_t object, io_name_t className) {
    Call call(__func__, {object});
    const RegistryNode& node = nodeFor(object, __func__);
    if (call.failed()) {
        return call.returns(call.failure<kern_return_t>());
    }
    const std::string name = call.yieldsNull() ? "" : node.className;
    std::snprintf(className, sizeof(io_name_t), "%s", name.c_str());
    return call.returns(kIOReturnSuccess);
}

// The registry numbers its entries in the order in which they come; here that is their handles'.
kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID) {
    Call call(__func__, {entry});
    const RegistryNode& node = nodeFor(entry, __func__);
    if (call.failed()) {
        return call.returns(call.failure<kern_return_t>());
    }
    constexpr uint64_t firstID = 0x100000000;
    *entryID = call.yieldsNull() ? 0 : firstID + handleOf(node);
    return call.returns(kIOReturnSuccess);
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits) {
    std::string name;
    {
        const InternalCalls internal;
        name = textOf(key);
    }
    Call call(__func__, {entry, name});
    const json& properties = nodeFor(entry, __func__).properties;
    const auto property = properties.find(name);
    if (call.failed() || call.yieldsNull() || property == properties.end()) {
        return call.returns<CFTypeRef>(nullptr, nullptr);
    }
    const InternalCalls internal;
    return call.returns<CFTypeRef>(propertyObject(*property).release(), *property);
}

kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator) {
    Call call(__func__, {entry, plane});
    const RegistryNode& node = nodeFor(entry, __func__);
    if (call.failed()) {
        return call.returns(call.failure<kern_return_t>());
    }
    if (std::strcmp(plane, kIOServicePlane) != 0) {
        return call.returns(kIOReturnBadArgument);
    }
    std::vector<const RegistryNode*> children;
    for (const RegistryNode& child : node.children) {
        children.push_back(&child);
    }
    *iterator = call.yieldsNull()
                    ? IO_OBJECT_NULL
                    : newIterator(std::move(children), "children of " + node.className);
    return call.returns(kIOReturnSuccess);
}

} // extern "C"
