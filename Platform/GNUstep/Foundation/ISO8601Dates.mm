// GNUstep's formatter writes the zone twice and has no Z.

#import <Foundation/Foundation.h>

#include <ctime>
#include <string>

@implementation NSISO8601DateFormatter (InternetDateTime)

/// The default format: date and time in UTC without fractions of a second.
- (NSString*)stringFromDate:(NSDate*)date {
    const auto seconds = static_cast<std::time_t>([date timeIntervalSince1970]);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    std::string text(sizeof "2026-01-31T08:05:09Z", '\0');
    text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts));
    return [NSString stringWithUTF8String:text.c_str()];
}

@end
