#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>
#include <set>

namespace veilpane {

/// The displays that this program disconnected, across restarts: a set in memory, and its copy in
/// the user defaults. Main thread only.
///
/// What is stored is read once in a process, at the first use, and written whole.
class RememberedDisplays {
public:
    static RememberedDisplays& shared();

    RememberedDisplays(const RememberedDisplays&) = delete;
    RememberedDisplays& operator=(const RememberedDisplays&) = delete;

    [[nodiscard]] bool contains(CGDirectDisplayID displayID);
    [[nodiscard]] const std::set<CGDirectDisplayID>& all();

    /// Adds the display and stores the set, also when it was in it already.
    void remember(CGDirectDisplayID displayID);
    /// Takes the display out and stores the set, also when it was not in it.
    void forget(CGDirectDisplayID displayID);
    /// Drops those that do not meet the condition, in memory only.
    void keepOnly(const std::function<bool(CGDirectDisplayID)>& condition);

private:
    RememberedDisplays() = default;

    void loadPersisted();

    std::set<CGDirectDisplayID> displays_;
    bool loaded_ = false;
};

} // namespace veilpane
