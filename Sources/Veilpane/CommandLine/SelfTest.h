#pragma once

#include "Veilpane/Inventory/DisplayItem.h"

#include <vector>

namespace veilpane {

/// A live check of the whole power path, for a person or a script that reads standard output.
///
/// Reports what this Mac can do and what each of `displays` is, then really switches the first
/// one that is neither main nor disconnected off and on again; none without SkyLight. Returns the
/// process's exit status.
[[nodiscard]] int runSelfTest(const std::vector<DisplayItem>& displays);

} // namespace veilpane
