#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSScreen : NSObject
@property (class, readonly, copy) NSArray<NSScreen*>* screens;
@property (readonly, copy) NSDictionary<NSString*, id>* deviceDescription;
@property (readonly, copy) NSString* localizedName API_AVAILABLE(macos(10.15));
@end

NS_ASSUME_NONNULL_END
