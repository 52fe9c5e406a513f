#pragma once

#include "Veilpane/Inventory/DisplayItem.h"
#include "Veilpane/Inventory/ProfilerNames.h"

#include <vector>

namespace veilpane {

/// The inventory of the displays that the user may act on. Main thread only.
class DisplayStore {
public:
    static DisplayStore& shared();

    DisplayStore(const DisplayStore&) = delete;
    DisplayStore& operator=(const DisplayStore&) = delete;

    /// A fresh list: connected displays first, among them the main one, then by name; the displays
    /// that this program disconnected last. What cannot be found out leaves a display out or takes
    /// a fallback. The first call waits for the system profiler.
    [[nodiscard]] std::vector<DisplayItem> listDisplays();

private:
    DisplayStore() = default;

    void loadNameCacheIfNeeded();
    [[nodiscard]] std::string displayName(CGDirectDisplayID displayID) const;
    [[nodiscard]] DisplayItem makeItem(CGDirectDisplayID displayID, bool disconnected) const;

    ProfilerNames nameCache_;
    bool nameCacheLoaded_ = false;
};

} // namespace veilpane
