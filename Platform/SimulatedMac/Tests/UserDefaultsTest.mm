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

// What GNUstep says of a date is reckoned year by year.
TEST(UserDefaults, a_date_beyond_all_calendars_is_logged_by_its_seconds) {
    Mac& mac = Mac::boot("{}");
    @autoreleasepool {
        NSUserDefaults* const defaults = [NSUserDefaults standardUserDefaults];
        NSDate* const date = [NSDate dateWithTimeIntervalSinceReferenceDate:-1e30];
        [defaults removeVolatileDomainForName:NSArgumentDomain];
        [defaults
            setVolatileDomain:[NSDictionary dictionaryWithObject:[NSArray arrayWithObject:date]
                                                          forKey:@"dates"]
                      forName:NSArgumentDomain];
        EXPECT_EQ([[defaults arrayForKey:@"dates"] count], 1U);
    }
    EXPECT_EQ(mac.calls().back().result, nlohmann::json({-1e30}));
}

} // namespace
} // namespace simulated_mac
