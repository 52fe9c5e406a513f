#pragma once

#include "Ownership/IORef.h"

#include <IOKit/IOKitLib.h>

namespace veilpane {

/// An iterator over the registered services of a class and its subclasses; empty when the registry
/// reports an error or has none of them.
[[nodiscard]] IORef matchingServices(const char* className);

/// An iterator over an entry's children in the service plane; empty when the registry reports an
/// error.
[[nodiscard]] IORef childrenOf(io_registry_entry_t entry);

/// The next entry of an iterator, owned by the caller; empty at its end, or when there is no
/// iterator.
[[nodiscard]] IORef nextEntry(const IORef& iterator);

} // namespace veilpane
