#include "SimulatedMac/World/Mac.h"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

void store(int number) {
    @autoreleasepool {
        [[NSUserDefaults standardUserDefaults]
            setObject:[NSArray arrayWithObject:[NSNumber numberWithInt:number]]
               forKey:@"numbers"];
    }
}

TEST(UserDefaults, a_change_can_be_lost_unseen) {
    Mac& mac = Mac::boot(
        R"({ "faults": [ { "call": "NSUserDefaults.setObject", "nth": 2, "returns": 0 } ] })");
    store(1);
    store(2);
    EXPECT_EQ(mac.storedDefaults(), nlohmann::json::parse(R"({ "numbers": [ 1 ] })"));
    EXPECT_EQ(mac.calls().back().call, "NSUserDefaults.setObject");
    store(3);
    EXPECT_EQ(mac.storedDefaults(), nlohmann::json::parse(R"({ "numbers": [ 3 ] })"));
}

} // namespace
} // namespace simulated_mac
