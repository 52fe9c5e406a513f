#include "SimulatedMac/Tests/MatchingServices.h"

#include <gtest/gtest.h>

namespace simulated_mac {

MatchingServices::MatchingServices(const char* className) {
    EXPECT_EQ(
        IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching(className), &iterator_),
        0);
}

int MatchingServices::countRest() {
    int count = 0;
    while (io_service_t const service = next()) {
        ++count;
        IOObjectRelease(service);
    }
    return count;
}

int serviceCount(const char* className) {
    return MatchingServices(className).countRest();
}

} // namespace simulated_mac
