#include "Veilpane/Inventory/DisplayStore.h"

#include "Veilpane/Inventory/RegistryNames.h"
#include "Veilpane/Inventory/ScreenNames.h"
#include "Veilpane/Inventory/SystemProfiler.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Support/UTF8Text.h"
#include "Veilpane/WindowServer/DisplayLists.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace veilpane {

namespace {

// Online displays in the window server's order, then the disconnected ones, which it does not list.
std::vector<CGDirectDisplayID> candidateDisplays() {
    auto listed = onlineDisplays(inventoryCapacity).value_or(std::vector<CGDirectDisplayID>());
    const auto disconnected = DisplayDisconnect::ourDisconnectedIDs();
    listed.insert(listed.end(), disconnected.begin(), disconnected.end());
    std::vector<CGDirectDisplayID> candidates;
    std::set<CGDirectDisplayID> taken;
    std::ranges::copy_if(
        listed, std::back_inserter(candidates),
        [&taken](CGDirectDisplayID displayID) { return taken.insert(displayID).second; });
    return candidates;
}

bool isOnlineOrActive(CGDirectDisplayID displayID) {
    return CGDisplayIsOnline(displayID) != 0 || CGDisplayIsActive(displayID) != 0;
}

bool isDisconnectedBySomeoneElse(CGDirectDisplayID displayID) {
    return DisplayDisconnect::isSoftDisconnected(displayID) &&
           !DisplayDisconnect::isDisconnectedByUs(displayID);
}

// Two monitors get the name that their owners know from the box instead of a number.
std::string nameByVendor(CGDirectDisplayID displayID) {
    switch (CGDisplayVendorNumber(displayID)) {
    case 25001:
        return "Torvik Monitor";
    case 7789:
        return "LG 显示器";
    default:
        return "显示器 " + std::to_string(displayID);
    }
}

bool isNamedBefore(const DisplayItem& a, const DisplayItem& b) {
    @autoreleasepool {
        NSString* const name = nsString(a.name);
        NSString* const other = nsString(b.name);
        return [name localizedCompare:other] == NSOrderedAscending;
    }
}

bool isListedBefore(const DisplayItem& a, const DisplayItem& b) {
    if (a.isDisconnected != b.isDisconnected) {
        return b.isDisconnected;
    }
    if (a.isMain != b.isMain) {
        return a.isMain;
    }
    return isNamedBefore(a, b);
}

} // namespace

DisplayStore& DisplayStore::shared() {
    // AppKit may call the delegate, which asks for it, while the process exits.
    [[clang::no_destroy]] static DisplayStore store;
    return store;
}

std::vector<DisplayItem> DisplayStore::listDisplays() {
    loadNameCacheIfNeeded();
    std::vector<DisplayItem> displays;
    for (const CGDirectDisplayID displayID : candidateDisplays()) {
        const bool disconnected = DisplayDisconnect::isDisconnectedByUs(displayID);
        if (!disconnected && !isOnlineOrActive(displayID)) {
            continue;
        }
        // The window server may have changed its mind since the candidates were collected.
        if (isDisconnectedBySomeoneElse(displayID)) {
            continue;
        }
        displays.push_back(makeItem(displayID, disconnected));
    }
    std::ranges::stable_sort(displays, isListedBefore);
    return displays;
}

// Tried once per process, even when it fails: the profiler takes seconds.
void DisplayStore::loadNameCacheIfNeeded() {
    if (nameCacheLoaded_) {
        return;
    }
    nameCacheLoaded_ = true;
    if (const auto output = runSystemProfiler()) {
        nameCache_ = parseProfilerNames(*output);
    }
}

std::string DisplayStore::displayName(CGDirectDisplayID displayID) const {
    if (const auto cached = nameCache_.find(displayID);
        cached != nameCache_.end() && !cached->second.empty()) {
        return cached->second;
    }
    if (auto name = screenName(displayID)) {
        return *name;
    }
    if (auto name = iokitDisplayName(displayID)) {
        return *name;
    }
    return nameByVendor(displayID);
}

DisplayItem DisplayStore::makeItem(CGDirectDisplayID displayID, bool disconnected) const {
    DisplayItem item = {};
    item.id = displayID;
    item.name = displayName(displayID);
    item.isBuiltIn = CGDisplayIsBuiltin(displayID) != 0;
    item.isMain = CGDisplayIsMain(displayID) != 0;
    const bool inMirrorSet = CGDisplayIsInMirrorSet(displayID) != 0;
    item.isMirrorSlave = inMirrorSet && !item.isMain && !disconnected;
    item.isDisconnected = disconnected;
    return item;
}

} // namespace veilpane
