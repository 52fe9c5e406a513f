#pragma once

#include <IOKit/IOKitLib.h>

namespace simulated_mac {

/// The services of a class, one after the other.
class MatchingServices {
public:
    explicit MatchingServices(const char* className);
    MatchingServices(const MatchingServices&) = delete;
    MatchingServices& operator=(const MatchingServices&) = delete;
    ~MatchingServices() { IOObjectRelease(iterator_); }

    /// To be released by the caller; IO_OBJECT_NULL after the last.
    io_service_t next() { return IOIteratorNext(iterator_); }
    /// How many it still yields.
    int countRest();

private:
    io_iterator_t iterator_ = IO_OBJECT_NULL;
};

int serviceCount(const char* className);

} // namespace simulated_mac
