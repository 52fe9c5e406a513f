#include "Veilpane/Power/DisplayDisconnect.h"

#include "Veilpane/WindowServer/DisplayLists.h"
#include "Veilpane/WindowServer/DisplayTransaction.h"
#include "Veilpane/WindowServer/SkyLight.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace {

NSString* const disconnectedIDsKey = @"Veilpane.disconnectedDisplayIDs";

constexpr std::uint32_t onlineCapacity = 32;
constexpr std::uint32_t largestDisplayList = 63;

std::set<CGDirectDisplayID> ourDisconnected;
bool loaded = false;

std::unexpected<DisconnectError> failure(DisconnectError::Reason reason, std::int32_t code = 0) {
    return std::unexpected(DisconnectError{reason, code});
}

bool contains(const std::vector<CGDirectDisplayID>& displays, CGDirectDisplayID displayID) {
    return std::ranges::find(displays, displayID) != displays.end();
}

// Some configurations are refused a permanent change but granted one for the session. The first
// configuration is spent by its failed completion, so a second one is begun.
std::expected<void, DisconnectError> applyForSession(SkyLight::ConfigureDisplayEnabled configure,
                                                     bool enabled, CGDirectDisplayID displayID,
                                                     CGError permanentError) {
    auto transaction = DisplayTransaction::begin();
    if (!transaction) {
        return failure(DisconnectError::Reason::configFailed, permanentError);
    }
    if (const CGError error = configure(transaction->get(), displayID, enabled);
        error != kCGErrorSuccess) {
        return failure(DisconnectError::Reason::slsFailed, error);
    }
    if (const CGError error = transaction->completeOrCancel(kCGConfigureForSession);
        error != kCGErrorSuccess) {
        return failure(DisconnectError::Reason::configFailed, error);
    }
    return {};
}

std::expected<void, DisconnectError> apply(SkyLight::ConfigureDisplayEnabled configure,
                                           bool enabled, CGDirectDisplayID displayID) {
    auto transaction = DisplayTransaction::begin();
    if (!transaction) {
        return failure(DisconnectError::Reason::configFailed, transaction.error());
    }
    if (const CGError error = configure(transaction->get(), displayID, enabled);
        error != kCGErrorSuccess) {
        return failure(DisconnectError::Reason::slsFailed, error);
    }
    if (const CGError error = transaction->complete(kCGConfigurePermanently);
        error != kCGErrorSuccess) {
        return applyForSession(configure, enabled, displayID, error);
    }
    return {};
}

// Absent for anything but a number that is exactly an unsigned 32-bit integer. A double holds every
// such integer, and NaN fails each comparison.
std::optional<CGDirectDisplayID> displayIDFrom(id element) {
    if (![element isKindOfClass:[NSNumber class]]) {
        return std::nullopt;
    }
    const double value = [element doubleValue];
    if (!(value >= 0 && value <= std::numeric_limits<CGDirectDisplayID>::max()) ||
        value != std::trunc(value)) {
        return std::nullopt;
    }
    return static_cast<CGDirectDisplayID>(value);
}

// One element that is no display ID makes the whole stored value untrustworthy.
std::optional<std::set<CGDirectDisplayID>> displayIDsFrom(NSArray* stored) {
    std::set<CGDirectDisplayID> displayIDs;
    for (id element in stored) {
        const auto displayID = displayIDFrom(element);
        if (!displayID) {
            return std::nullopt;
        }
        displayIDs.insert(*displayID);
    }
    return displayIDs;
}

// A failed read is not repeated in this process.
void loadPersisted() {
    if (loaded) {
        return;
    }
    loaded = true;
    @autoreleasepool {
        NSArray* const stored =
            [[NSUserDefaults standardUserDefaults] arrayForKey:disconnectedIDsKey];
        if (stored == nil) {
            return;
        }
        if (auto displayIDs = displayIDsFrom(stored)) {
            ourDisconnected = std::move(*displayIDs);
        }
    }
}

void persist() {
    @autoreleasepool {
        NSMutableArray* const stored = [NSMutableArray array];
        for (const CGDirectDisplayID displayID : ourDisconnected) {
            [stored addObject:[NSNumber numberWithUnsignedInt:displayID]];
        }
        [[NSUserDefaults standardUserDefaults] setObject:stored forKey:disconnectedIDsKey];
    }
}

void remember(bool enabled, CGDirectDisplayID displayID) {
    loadPersisted();
    if (enabled) {
        ourDisconnected.erase(displayID);
    } else {
        ourDisconnected.insert(displayID);
    }
    persist();
}

// 0 when SkyLight cannot tell, or tells of more displays than are believable.
std::uint32_t knownDisplayCount(SkyLight::GetDisplayList getDisplayList) {
    std::uint32_t count = 0;
    const bool counted = getDisplayList(0, nullptr, &count) == kCGErrorSuccess;
    return counted && count <= largestDisplayList ? count : 0;
}

std::vector<CGDirectDisplayID> knownDisplays(SkyLight::GetDisplayList getDisplayList,
                                             std::uint32_t capacity) {
    std::vector<CGDirectDisplayID> displays(capacity, kCGNullDirectDisplay);
    std::uint32_t count = capacity;
    if (getDisplayList(capacity, displays.data(), &count) != kCGErrorSuccess) {
        return {};
    }
    displays.resize(std::min(count, capacity));
    return displays;
}

} // namespace

std::expected<void, DisconnectError> DisplayDisconnect::setEnabled(bool enabled,
                                                                   CGDirectDisplayID displayID) {
    const auto configure = SkyLight::configureDisplayEnabled();
    if (configure == nullptr) {
        return failure(DisconnectError::Reason::unavailable);
    }
    if (auto applied = apply(configure, enabled, displayID); !applied) {
        return applied;
    }
    remember(enabled, displayID);
    return {};
}

std::vector<CGDirectDisplayID> DisplayDisconnect::allDisplayIDs() {
    if (const auto getDisplayList = SkyLight::getDisplayList()) {
        if (const std::uint32_t count = knownDisplayCount(getDisplayList); count > 0) {
            return knownDisplays(getDisplayList, count);
        }
    }
    return onlineDisplays(onlineCapacity).value_or(std::vector<CGDirectDisplayID>());
}

bool DisplayDisconnect::isSoftDisconnected(CGDirectDisplayID displayID) {
    if (!contains(allDisplayIDs(), displayID)) {
        return false;
    }
    const auto online = onlineDisplays(onlineCapacity);
    return !online || !contains(*online, displayID);
}

std::set<CGDirectDisplayID> DisplayDisconnect::ourDisconnectedIDs() {
    loadPersisted();
    std::erase_if(ourDisconnected,
                  [](CGDirectDisplayID displayID) { return !isSoftDisconnected(displayID); });
    return ourDisconnected;
}

bool DisplayDisconnect::isDisconnectedByUs(CGDirectDisplayID displayID) {
    loadPersisted();
    return ourDisconnected.contains(displayID) && isSoftDisconnected(displayID);
}
