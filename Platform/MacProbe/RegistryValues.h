#pragma once

#include "MacProbe/Json.h"

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <vector>

namespace macprobe {

/// Whether a property is written down under this name, at whatever depth: what says which kind of
/// connector or monitor a node stands for. Serial numbers and what may hold them (a monitor's
/// identification block, its identifiers and paths) are none of these.
[[nodiscard]] bool isTold(const std::string& property);

/// The names of a node's own properties that are told, if the node has them.
[[nodiscard]] const std::vector<CFStringRef>& toldProperties();

/// A text in UTF-8; absent when it cannot be converted.
[[nodiscard]] std::optional<std::string> utf8(CFStringRef text);

/// A property as a scene writes it, without what is not told; absent for what is none of a scene's
/// values.
[[nodiscard]] std::optional<Json> registryValue(const std::string& name, CFTypeRef property);

} // namespace macprobe
