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

// What is neither is of something else that changes colours, as Night Shift does.
bool isSetByUsOrBlack(const GammaTables& tables) {
    return areBlack(tables) || lookAlike(tables, dimmedTables(tables.size()));
}

bool isSpoilt(const std::optional<GammaTables>& now, const std::optional<GammaTables>& before) {
    if (!now || !before) {
        return now.has_value() != before.has_value();
    }
    return !lookAlike(*now, *before) && isSetByUsOrBlack(*now);
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

bool Arrangement::hasSpoiltTables(const Arrangement& before) const {
    return std::ranges::any_of(tables, [&before](const auto& entry) {
        const auto earlier = before.tables.find(entry.first);
        return earlier != before.tables.end() && isSpoilt(entry.second, earlier->second);
    });
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
    if (Arrangement::now().hasSpoiltTables(before)) {
        CGDisplayRestoreColorSyncSettings();
    }
    const Arrangement after = Arrangement::now();
    return after.standsAs(before) && !after.hasSpoiltTables(before);
}

} // namespace macprobe
