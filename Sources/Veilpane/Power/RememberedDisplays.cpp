#include "Veilpane/Power/RememberedDisplays.h"

#include "Veilpane/Power/StoredDisplays.h"

namespace veilpane {

RememberedDisplays& RememberedDisplays::shared() {
    // AppKit may call the delegate, which asks for it, while the process exits.
    [[clang::no_destroy]] static RememberedDisplays displays;
    return displays;
}

bool RememberedDisplays::contains(CGDirectDisplayID displayID) {
    loadPersisted();
    return displays_.contains(displayID);
}

const std::set<CGDirectDisplayID>& RememberedDisplays::all() {
    loadPersisted();
    return displays_;
}

void RememberedDisplays::remember(CGDirectDisplayID displayID) {
    loadPersisted();
    displays_.insert(displayID);
    storeDisplays(displays_);
}

void RememberedDisplays::forget(CGDirectDisplayID displayID) {
    loadPersisted();
    displays_.erase(displayID);
    storeDisplays(displays_);
}

void RememberedDisplays::keepOnly(const std::function<bool(CGDirectDisplayID)>& condition) {
    loadPersisted();
    std::erase_if(displays_, std::not_fn(condition));
}

// A failed read is not repeated in this process.
void RememberedDisplays::loadPersisted() {
    if (!loaded_) {
        loaded_ = true;
        displays_ = readStoredDisplays();
    }
}

} // namespace veilpane
