#include "MacProbe/Arrangement.h"

#include "Veilpane/WindowServer/DisplayTransaction.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>

namespace macprobe {

namespace {

// The window server may order a list anew.
bool haveTheSame(const DisplayIDs& one, const DisplayIDs& other) {
    return std::ranges::is_permutation(one, other);
}

bool setEnabled(CGDirectDisplayID display, bool enabled, CGConfigureOption scope) {
    const auto configure = veilpane::SkyLight::configureDisplayEnabled();
    auto transaction = configure == nullptr ? std::unexpected(kCGErrorNotImplemented)
                                            : veilpane::DisplayTransaction::begin();
    return transaction && configure(transaction->get(), display, enabled) == kCGErrorSuccess &&
           transaction->complete(scope) == kCGErrorSuccess;
}

bool looksOther(const std::optional<GammaTables>& one, const std::optional<GammaTables>& other) {
    return one.has_value() != other.has_value() || (one && !lookAlike(*one, *other));
}

// A mirroring may be kept for good although it is not to be seen now, so it is ended in any case.
void endMirroring(CGDirectDisplayID display) {
    if (!setMirrorMaster(display, kCGNullDirectDisplay, kCGConfigurePermanently)) {
        setMirrorMaster(display, kCGNullDirectDisplay, kCGConfigureForSession);
    }
}

} // namespace

Arrangement Arrangement::now() {
    const DisplayListing listing = listDisplays();
    Arrangement arrangement{listing.online, listing.active, mainDisplay(listing), {}, {}};
    for (const CGDirectDisplayID display : listing.online) {
        const CGDirectDisplayID master = CGDisplayMirrorsDisplay(display);
        if (master != kCGNullDirectDisplay) {
            arrangement.masters[display] = master;
        }
        arrangement.tables[display] = readWholeGamma(display);
    }
    return arrangement;
}

bool Arrangement::standsAs(const Arrangement& other) const {
    return haveTheSame(online, other.online) && haveTheSame(active, other.active) &&
           main == other.main && masters == other.masters;
}

DisplayIDs Arrangement::otherTables(const Arrangement& other) const {
    DisplayIDs displays;
    for (const auto& [display, own] : tables) {
        const auto others = other.tables.find(display);
        if (others != other.tables.end() && looksOther(own, others->second)) {
            displays.push_back(display);
        }
    }
    return displays;
}

bool setEnabled(CGDirectDisplayID display, bool enabled) {
    return setEnabled(display, enabled, kCGConfigurePermanently) ||
           setEnabled(display, enabled, kCGConfigureForSession);
}

bool setMirrorMaster(CGDirectDisplayID display, CGDirectDisplayID master, CGConfigureOption scope) {
    auto transaction = veilpane::DisplayTransaction::begin();
    return transaction &&
           CGConfigureDisplayMirrorOfDisplay(transaction->get(), display, master) ==
               kCGErrorSuccess &&
           transaction->complete(scope) == kCGErrorSuccess;
}

bool bringBack(CGDirectDisplayID display, const Arrangement& before) {
    if (!contains(listDisplays().online, display)) {
        setEnabled(display, true);
    }
    endMirroring(display);
    if (!Arrangement::now().otherTables(before).empty()) {
        CGDisplayRestoreColorSyncSettings();
    }
    const Arrangement after = Arrangement::now();
    return after.standsAs(before) && after.otherTables(before).empty();
}

} // namespace macprobe
