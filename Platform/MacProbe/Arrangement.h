#pragma once

#include "MacProbe/DisplayFacts.h"
#include "MacProbe/GammaTables.h"

#include <map>
#include <optional>

namespace macprobe {

/// What is to be as it was when everything is over.
struct Arrangement {
    DisplayIDs online;
    DisplayIDs active;
    CGDirectDisplayID main = kCGNullDirectDisplay;
    std::map<CGDirectDisplayID, CGDirectDisplayID> masters; ///< of the displays that mirror others
    std::map<CGDirectDisplayID, std::optional<GammaTables>> tables;

    /// As it is now.
    [[nodiscard]] static Arrangement now();

    /// Whether the displays stand as in the other, gamma tables apart.
    [[nodiscard]] bool standsAs(const Arrangement& other) const;
    /// Whether a display's tables are not those of `before`, but black, those that this program
    /// sets, or only one time to be read.
    [[nodiscard]] bool hasSpoiltTables(const Arrangement& before) const;
};

/// Asks the window server to enable or disable a display, permanently, or for the session where
/// that is refused. Whether it reports success.
bool setEnabled(CGDirectDisplayID display, bool enabled);

/// Asks it to let a display mirror another one, or none (kCGNullDirectDisplay). Whether it reports
/// success.
bool setMirrorMaster(CGDirectDisplayID display, CGDirectDisplayID master, CGConfigureOption scope);

/// Enables the display, ends its mirroring for good and, where tables are spoilt, gives all
/// displays those of their profiles. Whether everything is as before.
bool bringBack(CGDirectDisplayID display, const Arrangement& before);

} // namespace macprobe
